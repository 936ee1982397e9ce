#include "tools/parse.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <utility>

#include "tools/errors.h"

namespace OrvelTool {
namespace {

// Reads N numbers from 0 to 99999 as the pattern says: '#' stands for a number, other characters for themselves.
template <std::size_t N>
std::optional<std::array<int, N>> matchNumbers(std::string_view pattern, std::string_view text) {
    std::array<int, N> numbers = {};
    std::size_t count = 0;
    const char *at = text.data(), *end = at + text.size();
    for (char c : pattern) {
        if (c == '#') {
            int& value = numbers.at(count++);
            const auto [next, error] = std::from_chars(at, end, value);
            if (error != std::errc() || value < 0 || value > 99999) return std::nullopt;
            at = next;
        } else if (at == end || *at++ != c) {
            return std::nullopt;
        }
    }
    if (at != end) return std::nullopt;
    return numbers;
}

// What these names stand for; as decimal fractions they would drift from the clips that bear them.
constexpr std::pair<const char*, std::uint32_t> ratesOver1001[] = {{"23.976", 24}, {"23.98", 24}, {"29.97", 30},
                                                                   {"47.952", 48}, {"59.94", 60}, {"119.88", 120}};

[[noreturn]] void refuse(const std::string& option, const std::string& text, const char* form) {
    throw ToolError(ExitCode::usage, option, fmt::format("{} is not understood", text), fmt::format("write {}", form));
}

}  // namespace

Size parseSize(const std::string& option, const std::string& text) {
    const auto numbers = matchNumbers<2>("#x#", text);
    if (!numbers || (*numbers)[0] == 0 || (*numbers)[1] == 0) refuse(option, text, "WIDTHxHEIGHT, such as 720x576");
    return {(*numbers)[0], (*numbers)[1]};
}

Rectangle parseRectangle(const std::string& option, const std::string& text) {
    const auto numbers = matchNumbers<4>("#x#+#+#", text);
    if (!numbers || (*numbers)[0] == 0 || (*numbers)[1] == 0)
        refuse(option, text, "WIDTHxHEIGHT+X+Y, such as 640x480+40+48");
    return {(*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3]};
}

Ratio parseRate(const std::string& option, const std::string& text) {
    for (const auto& [name, thousands] : ratesOver1001)
        if (text == name) return {thousands * 1000, 1001};
    const bool whole = text.find('/') == text.npos;
    const auto numbers = matchNumbers<2>("#/#", whole ? text + "/1" : text);
    if (!numbers || (*numbers)[0] == 0 || (*numbers)[1] == 0) refuse(option, text, "25, 29.97 or 30000/1001");
    return {static_cast<std::uint32_t>((*numbers)[0]), static_cast<std::uint32_t>((*numbers)[1])};
}

std::array<std::uint8_t, 3> parseColour(const std::string& option, const std::string& text) {
    const auto numbers = matchNumbers<3>("#,#,#", text);
    if (!numbers || std::any_of(numbers->begin(), numbers->end(), [](int n) { return n > 255; }))
        refuse(option, text, "Y,U,V from 0 to 255, such as 16,128,128");
    const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>((*numbers)[i]); };
    return {byte(0), byte(1), byte(2)};
}

}  // namespace OrvelTool
