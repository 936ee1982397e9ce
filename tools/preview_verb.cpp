#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

#include "orvel/img/bgr_img.h"
#include "tools/errors.h"
#include "tools/format_converter.h"
#include "tools/media/open_media.h"
#include "tools/motion_arrows.h"
#include "tools/parse.h"
#include "tools/png_writer.h"
#include "tools/progress.h"
#include "tools/verbs.h"

namespace OrvelTool {
namespace {

using Orvel::Img;

constexpr int gap = 8;  // pixels between tiles
constexpr std::uint8_t sheetGrey = 64;
constexpr int maxSheetPixels = 1 << 28;
constexpr std::uint8_t arrowColour[] = {0, 220, 255};  // B, G, R

struct PreviewOptions {
    std::string input, output, beside, matrix;
    InputOptions source, besideSource;
    int frames = 8, every = 0, columns = 0, tileWidth = 720;
    bool fields = false, motion = false;
};

// Frames of one clip as tiles of a sheet, reduced by a whole factor; whole, or the top field above the bottom field,
// each at its own height; with arrows along the motion if that is asked for.
class TileSource {
public:
    TileSource(const std::string& path, const InputOptions& options, const PreviewOptions& preview)
        : source_(openSource(path, options)),
          hdtv_(preview.matrix.empty() ? source_->info().height >= 720 : preview.matrix == "709"),
          factor_((source_->info().width + preview.tileWidth - 1) / preview.tileWidth),
          fields_(preview.fields ? 2 : 1),
          picture_(makePicture(*source_->info().format, source_->info().width, source_->info().height)),
          converter_(*source_->info().format, formatOf<Orvel::BGRImg>(), source_->info().width, source_->info().height,
                     {hasFields(source_->info()), hdtv_}) {
        if (!preview.motion) return;
        before_ = makePicture(*info().format, info().width, info().height);
        arrows_.emplace(info(), preview.fields);
        if (info().interlaced() && !preview.fields)
            notice("--motion", source_->name() + " holds two fields a frame, searched as one; --fields searches each");
    }

    const ClipInfo& info() const { return source_->info(); }
    int width() const { return std::max(1, info().width / factor_); }
    int height() const {
        int height = (fields_ - 1) * gap / 2;
        for (int field = 0; field < fields_; ++field) height += fieldHeight(field);
        return height;
    }

    bool next() {
        if (before_) std::swap(picture_, before_);
        if (!source_->read(*picture_)) return false;
        ++read_;
        return true;
    }
    /// Draws the frame of the last next().
    void draw(BgrSheet& sheet, int left, int top) {
        if (arrows_ && read_ > 1) arrows_->find(*before_, *picture_);
        const Img& bgr = converter_.convert(*picture_);
        for (int field = 0; field < fields_; ++field) {
            drawField(sheet, left, top, bgr, field);
            top += fieldHeight(field) + gap / 2;
        }
    }

private:
    // Whoever asks for the fields of a clip that nothing is known of takes it for interlaced.
    bool hasFields(const ClipInfo& clip) const {
        return clip.interlaced() || (fields_ == 2 && clip.scan == Scan::unknown);
    }
    int fieldLines(int field) const { return (info().height - field + fields_ - 1) / fields_; }
    int fieldHeight(int field) const { return fieldLines(field) == 0 ? 0 : std::max(1, fieldLines(field) / factor_); }

    void drawField(BgrSheet& sheet, int left, int top, const Img& bgr, int field) const {
        for (int y = 0; y < fieldHeight(field); ++y)
            for (int x = 0; x < width(); ++x)
                for (int c = 0; c < 3; ++c)
                    sheet.pixel(left + x, top + y)[c] =
                        arrowThrough(x, y, field) ? arrowColour[c] : displayed(mean(bgr, x, y, c, field));
    }
    /// The pixels of the frame that one pixel of a tile stands for.
    template <class Visit>
    void forEachPixel(int x, int y, int field, const Visit& visit) const {
        const Size box = boxSize(field);
        for (int j = 0; j < box.height; ++j)
            for (int i = 0; i < box.width; ++i) visit(x * factor_ + i, (y * factor_ + j) * fields_ + field);
    }
    Size boxSize(int field) const { return {std::min(factor_, info().width), std::min(factor_, fieldLines(field))}; }
    int mean(const Img& bgr, int x, int y, int channel, int field) const {
        int sum = 0;
        forEachPixel(x, y, field, [&](int column, int line) { sum += bgr.getPixel(0, line, column)[channel]; });
        const int pixels = boxSize(field).width * boxSize(field).height;
        return (sum + pixels / 2) / pixels;
    }
    bool arrowThrough(int x, int y, int field) const {
        bool through = false;
        if (arrows_)
            forEachPixel(x, y, field, [&](int column, int line) { through = through || arrows_->at(column, line); });
        return through;
    }
    // PNG viewers expect 0..255 where the BT.709 conversion gives 16..235.
    std::uint8_t displayed(int value) const {
        return static_cast<std::uint8_t>(hdtv_ ? std::clamp((value - 16) * 255 / 219, 0, 255) : value);
    }

    std::unique_ptr<FrameSource> source_;
    bool hdtv_;
    int factor_;
    int fields_;  // pictures that a frame is drawn as
    std::unique_ptr<Img> picture_, before_;
    FormatConverter converter_;
    std::optional<MotionArrows> arrows_;
    std::int64_t read_ = 0;
};

/// Where the tiles lie: cells of one tile, or of two side by side, in rows.
struct Grid {
    int columns, rows, cellWidth, cellHeight;

    int left(int cell) const { return gap + cell % columns * (cellWidth + gap); }
    int top(int cell) const { return gap + cell / columns * (cellHeight + gap); }
    int width() const { return gap + columns * (cellWidth + gap); }
    int height() const { return gap + rows * (cellHeight + gap); }
};

class ContactSheet {
public:
    explicit ContactSheet(const PreviewOptions& options)
        : options_(options), first_(options.input, options.source, options) {
        if (!options.beside.empty()) second_.emplace(options.beside, options.besideSource, options);
        choosePictures();
    }

    BgrSheet draw() {
        const Grid grid = layOut();
        if (std::int64_t{grid.width()} * grid.height() > maxSheetPixels)
            throw ToolError(ExitCode::refused, options_.output,
                            fmt::format("a sheet of {}x{} pixels is too large", grid.width(), grid.height()),
                            "ask for fewer --frames or a smaller --tile-width");
        BgrSheet sheet(grid.width(), grid.height(), sheetGrey);
        Progress progress("preview", cells_);
        int drawn = 0;
        for (std::int64_t frame = 0; drawn < cells_ && first_.next() && (!second_ || second_->next()); ++frame) {
            if (frame % every_ != 0) continue;
            first_.draw(sheet, grid.left(drawn), grid.top(drawn));
            if (second_) second_->draw(sheet, grid.left(drawn) + first_.width() + gap / 2, grid.top(drawn));
            ++drawn;
            progress.step();
        }
        if (drawn == 0) throw ToolError(ExitCode::badInput, options_.input, "holds no frame");
        return sheet;
    }

private:
    // Without --every the pictures are spread over the clip, as far as its length is known.
    void choosePictures() {
        std::optional<std::int64_t> total = first_.info().frames;
        if (second_ && second_->info().frames)
            total = std::min(total.value_or(*second_->info().frames), *second_->info().frames);
        every_ = options_.every > 0 ? options_.every : std::max<std::int64_t>(1, total.value_or(1) / options_.frames);
        const std::int64_t there = total ? (*total + every_ - 1) / every_ : options_.frames;
        cells_ = static_cast<int>(std::clamp<std::int64_t>(there, 1, options_.frames));
    }

    Grid layOut() const {
        int columns = options_.columns;
        if (columns == 0)
            while (columns * columns < cells_) ++columns;
        columns = std::min(columns, cells_);
        const int width = first_.width() + (second_ ? gap / 2 + second_->width() : 0);
        const int height = std::max(first_.height(), second_ ? second_->height() : 0);
        return {columns, (cells_ + columns - 1) / columns, width, height};
    }

    const PreviewOptions& options_;
    TileSource first_;
    std::optional<TileSource> second_;
    std::int64_t every_ = 1;
    int cells_ = 1;
};

}  // namespace

void addPreview(Verb& program) {
    Verb verb = program.addVerb("preview", "Draw a contact sheet of a clip's frames as a PNG file");
    auto options = std::make_shared<PreviewOptions>();
    addInput(verb, options->input);
    verb.addOption("OUTPUT", options->output, "PNG file, or - for standard output").required();
    verb.addOption("--frames", options->frames, "number of pictures, default 8").range(1, 1000);
    verb.addOption("--every", options->every, "take every Kth frame; default: spread over the clip").range(1, 1000000);
    verb.addOption("--columns", options->columns, "pictures in a row").range(1, 1000);
    verb.addOption("--tile-width", options->tileWidth, "wider pictures are reduced by a whole factor; default 720")
        .range(16, 8192);
    verb.addFlag("--fields", options->fields,
                 "show the two fields apart: the top field above the bottom field, each of half the height");
    verb.addFlag("--motion", options->motion,
                 "draw arrows from where things are to where they were in the frame before, block by block as the "
                 "noise filter finds them; with --fields field by field");
    verb.addOption("--matrix", options->matrix, "601 or 709; default: 709 from 720 lines on").oneOf({"601", "709"});
    verb.addOption("--beside", options->beside, "another clip, shown to the right of each picture");
    verb.addOption("--beside-size", options->besideSource.size, "WIDTHxHEIGHT of a headerless one").needs("--beside");
    verb.addOption("--beside-format", options->besideSource.format, "format of a headerless one").needs("--beside");
    addInputOptions(verb, options->source);
    verb.action([options] { writePng(options->output, ContactSheet(*options).draw()); });
}

}  // namespace OrvelTool
