#include "tools/marks/line_numbers.h"

#include <fmt/format.h>

#include <algorithm>
#include <new>

#include "orvel/watermark/watermark.h"

namespace OrvelTool {
namespace {

using namespace Orvel;

constexpr int width = 64, height = 32;  // the smallest picture that is read
constexpr int chromaOfMark = 100;

}  // namespace

LineNumbers::LineNumbers() {
    if (!sample_.allocate(width, height, I420Img::getClassBpp()) || !sample_.set(chromaOfMark)) throw std::bad_alloc();
}

// Readers of a line also look at a row of chroma, which only lines 0 to 2 find marked: the sample has it everywhere.
void LineNumbers::read(const I420Img& picture) {
    for (int line = 0; line < lines; ++line) {
        std::copy_n(picture.getPixel(0, line, 0), width, sample_.getPixel(0, line, 0));
        int number = line;
        auto& found = numbers_.at(static_cast<std::size_t>(line));
        found = Watermark::read(sample_, number) ? std::optional<std::int64_t>(number) : std::nullopt;
    }
}

std::string LineNumbers::firstOutOfPlace(bool fields) const {
    for (int line = 0; line < lines; ++line) {
        const auto number = (*this)[line];
        if (number == line) continue;
        const char* field = !fields ? "" : line % 2 == 0 ? " (top field)" : " (bottom field)";
        return fmt::format("line {}{} carries {}", line, field, number ? std::to_string(*number) : "no number");
    }
    return {};
}

}  // namespace OrvelTool
