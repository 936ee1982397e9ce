#pragma once
#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "orvel/img/i420_img.h"

namespace OrvelTool {

/// The numbers that the first six lines of a picture carry.
class LineNumbers {
public:
    static constexpr int lines = 6;

    /// Throws std::bad_alloc.
    LineNumbers();

    /// Reads the lines of a picture of 64x32 or more, by luma alone.
    void read(const Orvel::I420Img& picture);
    std::optional<std::int64_t> operator[](int line) const { return numbers_.at(static_cast<std::size_t>(line)); }
    /// Names the first line that does not carry its own number, "line 2 carries 0"; empty when all do.
    /// @param fields the fields' names are told too.
    std::string firstOutOfPlace(bool fields) const;

private:
    Orvel::I420Img sample_;  // a line among chroma as readers want it
    std::array<std::optional<std::int64_t>, lines> numbers_;
};

}  // namespace OrvelTool
