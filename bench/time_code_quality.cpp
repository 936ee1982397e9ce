#include <tbb/parallel_for.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <new>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "bench/clip.h"
#include "bench/mark_damage.h"
#include "bench/quality.h"
#include "bench/report.h"
#include "orvel/convert/convert_img.h"
#include "orvel/img/yv16_img.h"
#include "orvel/watermark/time_code_bits.h"
#include "orvel/watermark/time_code_frames.h"
#include "orvel/watermark/unified_watermark_interlace.h"

namespace Orvel::bench {
namespace {

constexpr int gridsPerClip = 100, windowsPerClip = 2000;
constexpr TimeCodeRate rate{30000, 1001};

/// The pictures of a clip as T: frames, or the fields of interlaced ones.
template <class T>
struct Footage {
    bool interlaced;
    std::vector<std::unique_ptr<T>> frames;

    int picturesPerFrame() const { return interlaced ? 2 : 1; }
    /// Makes view to a view of one picture of a frame.
    void viewPicture(const Img& frame, int picture, T& view) const {
        if (!interlaced) {
            if (!frame.shadowCopy(view)) throw std::bad_alloc();
        } else if (picture == 0) {
            frame.getTopFieldShadow(view);
        } else {
            frame.getBottomFieldShadow(view);
        }
    }
};

void copyTo(const Img& from, Img& to) {
    if (!from.replicate(to, Img::rowAlignment) || !from.copy(to)) throw std::bad_alloc();
}

void convert(const I420Img& from, I420Img& to, bool) {
    copyTo(from, to);
}
void convert(const I420Img& from, YV16Img& to, bool interlaced) {
    if (!to.allocate(from.getWidth(0), from.getHeight(0), YV16Img::getClassBpp()) ||
        !ConvertImg::I420ToYV16(to, from, interlaced))
        throw std::runtime_error("4:2:0 cannot become 4:2:2");
}

template <class T>
Footage<T> footage(const Clip& clip, bool interlaced) {
    Footage<T> made{interlaced, {}};
    for (const Picture& picture : interlaced ? weave(clip) : clip) {
        made.frames.push_back(std::make_unique<T>());
        convert(*picture, *made.frames.back(), interlaced);
    }
    return made;
}

/// What a reader made of a number of pictures.
struct Readings {
    int pictures = 0;
    int right = 0;
    int wrong = 0;   ///< a time code that nobody stamped
    int unseen = 0;  ///< of these, what findTimeCodeBitsFault() and isTimeCodeValid() have nothing against

    Readings& operator+=(const Readings& other) {
        pictures += other.pictures, right += other.right, wrong += other.wrong, unseen += other.unseen;
        return *this;
    }
};

/// @param stamped  what is to be read, null if nothing is. Pictures that are too small for a grid do not count.
template <class T>
Readings readPicture(T& img, const TimeCodeValue* stamped) {
    constexpr int smallest = UnifiedWatermark<T>::smallestSide;
    if (img.getWidth(1) < smallest || img.getHeight(1) < smallest) return {};
    UnifiedWatermark<T> mark;
    TimeCodeValue value;
    Readings readings{1};
    if (!mark.decode(img, value)) return readings;
    if (stamped != nullptr && value == *stamped) {
        readings.right = 1;
    } else {
        readings.wrong = 1;
        readings.unseen =
            findTimeCodeBitsFault(mark.bits()) == TimeCodeBitsNoFault && isTimeCodeValid(value, rate) ? 1 : 0;
    }
    return readings;
}

/// The sum of read(i) for i in [0, count), in parallel.
template <class Body>
Readings sum(int count, const Body& read) {
    std::vector<Readings> each(static_cast<std::size_t>(count));
    tbb::parallel_for(0, count, [&](int i) { each[static_cast<std::size_t>(i)] = read(i); });
    Readings all;
    for (const Readings& one : each) all += one;
    return all;
}

/// Time codes from all over the day.
TimeCodeValue someTimeCode(int i) {
    const bool dropFrame = i % 2 != 0;
    TimeCodeValue value;
    const bool exists = framesToTimeCode((i + 1) * 104729LL % framesPerDay(rate, dropFrame), rate, dropFrame, value);
    if (!exists) throw std::logic_error("a day without frames");
    return value;
}

/// Stamps frames in turn, each time with another time code, damages what comes of it and reads it.
template <class T>
Readings readMarked(const Footage<T>& from, const Damage& damage) {
    const int frames = gridsPerClip / from.picturesPerFrame();
    return sum(frames, [&](int i) {
        T frame;
        copyTo(*from.frames[static_cast<std::size_t>(i) % from.frames.size()], frame);
        TimeCodeValue stamped = someTimeCode(i);
        UnifiedWatermarkInterlace<T> fields;
        UnifiedWatermark<T>& whole = fields;
        Readings readings;
        if (!(from.interlaced ? fields.encode(frame, stamped, nullptr) : whole.encode(frame, stamped, nullptr)))
            return readings;
        for (int picture = 0; picture < from.picturesPerFrame(); ++picture) {
            stamped.topField = from.interlaced && picture == 0, stamped.bottomField = picture == 1;
            T view, damaged;
            from.viewPicture(frame, picture, view);
            std::mt19937 random(static_cast<std::uint32_t>(2 * i + picture));
            damage(view, damaged, random);
            readings += readPicture(damaged, &stamped);
        }
        return readings;
    });
}

// ---- pictures without a mark

void contrastOfFour(const Img& from, Img& to) {
    changeChromaLevels(from, to, 4, 0);
}

/// Luma where chroma is looked for: busier than any chroma, with as many dark and bright samples as it likes.
void lumaAsChroma(const Img& from, Img& to) {
    const int rowsPerChroma = from.getHeight(0) > from.getHeight(1) ? 2 : 1;
    if (!to.allocate(2 * from.getWidth(0), rowsPerChroma * from.getHeight(0), from.getBpp(0))) throw std::bad_alloc();
    if (!from.copyPlane(to, 0, 1) || !from.copyPlane(to, 0, 2)) throw std::runtime_error("luma cannot be copied");
}

constexpr struct {
    const char* name;
    void (*make)(const Img& from, Img& to);
} contents[] = {{"", copyTo}, {", four times the contrast", contrastOfFour}, {", luma for chroma", lumaAsChroma}};

/// Makes view to a rectangle of the picture with chroma of at least 96 x 96, if it is that large.
void viewWindow(const Img& picture, Img& view, std::mt19937& random) {
    const int rowsPerChroma = picture.getHeight(0) > picture.getHeight(1) ? 2 : 1;
    const auto place = [&](int chroma, int& first, int& length) {
        length = 96 + static_cast<int>(random() % static_cast<std::uint32_t>(chroma - 95));
        first = static_cast<int>(random() % static_cast<std::uint32_t>(chroma - length + 1));
    };
    if (picture.getWidth(1) < 96 || picture.getHeight(1) < 96) return;
    int x, y, width, height;
    place(picture.getWidth(1), x, width);
    place(picture.getHeight(1), y, height);
    picture.getShadowRoi(view, {2 * x, rowsPerChroma * y}, {2 * width, rowsPerChroma * height});
}

/// Looks for time codes in windows of all pictures.
template <class T, class Make>
Readings readUnmarked(const Footage<T>& from, const Make& make) {
    const int pictures = static_cast<int>(from.frames.size()) * from.picturesPerFrame();
    return sum(pictures, [&](int i) {
        T view, content;
        from.viewPicture(*from.frames[static_cast<std::size_t>(i / from.picturesPerFrame())],
                         i % from.picturesPerFrame(), view);
        make(view, content);
        std::mt19937 random(static_cast<std::uint32_t>(i));
        Readings readings = readPicture(content, nullptr);
        for (int k = i; k < windowsPerClip; k += pictures) {
            T window;
            viewWindow(content, window, random);
            readings += readPicture(window, nullptr);
        }
        return readings;
    });
}

// ---- tables

constexpr int forms = 4;

/// A clip in the forms that the tables have columns for.
struct Material {
    std::string name;
    Footage<I420Img> frames420, fields420;
    Footage<YV16Img> frames422, fields422;

    explicit Material(const std::filesystem::path& file) : Material(contentOf(file), readClip(file)) {}
    Material(std::string content, const Clip& clip)
        : name(std::move(content)),
          frames420(footage<I420Img>(clip, false)),
          fields420(footage<I420Img>(clip, true)),
          frames422(footage<YV16Img>(clip, false)),
          fields422(footage<YV16Img>(clip, true)) {}
};

using Row = std::array<Readings, forms>;

void operator+=(Row& row, const Row& other) {
    for (std::size_t i = 0; i < row.size(); ++i) row[i] += other[i];
}

/// read(footage) of each form.
template <class Body>
Row inEachForm(const Material& clip, const Body& read) {
    return {read(clip.frames420), read(clip.frames422), read(clip.fields420), read(clip.fields422)};
}

void writeHead(std::ostream& out, const std::string& corner) {
    out << "| " << corner << " | 4:2:0 | 4:2:2 | 4:2:0, fields | 4:2:2, fields |\n|---|---:|---:|---:|---:|\n";
}

template <class Cell>
void writeRow(std::ostream& out, const std::string& name, const Row& row, const Cell& cell) {
    out << "| " << name << " |";
    for (const Readings& readings : row) out << ' ' << (readings.pictures == 0 ? "too small" : cell(readings)) << " |";
    out << '\n';
}

/// 100 and 0 stand for all and none alone.
std::string percent(int part, int whole) {
    if (part == 0 || part == whole) return part == 0 ? "0" : "100";
    const double exact = 100.0 * part / whole;
    return exact < 0.05 ? "< 0.1" : exact >= 99.95 ? "> 99.9" : fixed(exact, 1);
}

std::string readCell(const Readings& readings) {
    std::string cell = percent(readings.right, readings.pictures);
    if (readings.wrong > 0) cell += ", wrong " + percent(readings.wrong, readings.pictures);
    if (readings.unseen > 0) cell += ", unseen " + percent(readings.unseen, readings.pictures);
    return cell;
}

std::string foundCell(const Readings& readings) {
    std::string cell = std::to_string(readings.wrong);
    cell.append(" / ").append(std::to_string(readings.unseen));
    return cell.append(" of ").append(std::to_string(readings.pictures));
}

void writeMarked(std::ostream& out, const std::vector<Material>& clips) {
    std::vector<Row> ofClips(clips.size());  // what does no harm
    writeHead(out, "% of time codes");
    for (const NamedDamage& damage : markDamages()) {
        Row all{};
        for (std::size_t i = 0; i < clips.size(); ++i) {
            const Row row = inEachForm(clips[i], [&](const auto& from) { return readMarked(from, damage.apply); });
            all += row;
            if (damage.harmless) ofClips[i] += row;
        }
        writeRow(out, (damage.harmless ? "" : "*") + damage.name + (damage.harmless ? "" : "*"), all, readCell);
    }
    out << "\nThe rows that are not slanted, clip by clip:\n\n";
    writeHead(out, "% of time codes");
    for (std::size_t i = 0; i < clips.size(); ++i) writeRow(out, clips[i].name, ofClips[i], readCell);
}

void writeUnmarked(std::ostream& out, const std::vector<Material>& clips) {
    writeHead(out, "found / not caught by the check");
    for (const auto& content : contents)
        for (const Material& clip : clips)
            writeRow(out, clip.name + content.name,
                     inEachForm(clip, [&](const auto& from) { return readUnmarked(from, content.make); }), foundCell);
}

std::string report(const std::vector<Material>& clips, const std::string& where) {
    std::ostringstream out;
    out << "### Time codes read back" << where << "\n\n";
    writeMarked(out, clips);
    out << "\n### Time codes found where there are none" << where << "\n\n";
    writeUnmarked(out, clips);
    out << '\n';
    return out.str();
}

}  // namespace

std::string timeCodeReport(const std::filesystem::path& media) {
    std::vector<Material> clips;
    for (const char* name : {"walkway_352x288_30p.yuv", "roof_720x576_50p.yuv"}) clips.emplace_back(media / name);
    return report(clips, "");
}

std::string timeCodeReport(const std::vector<std::filesystem::path>& files) {
    return report(std::vector<Material>(files.begin(), files.end()), ", further clips");
}

}  // namespace Orvel::bench
