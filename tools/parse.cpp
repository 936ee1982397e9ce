#include "tools/parse.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

#include "tools/errors.h"

namespace OrvelTool {
namespace {

// Reads numbers from 0 to 99999 as the pattern says: '#' stands for a number, other characters for themselves.
std::optional<std::vector<int>> matchNumbers(std::string_view pattern, std::string_view text) {
    std::vector<int> numbers;
    const char *at = text.data(), *end = at + text.size();
    for (char c : pattern) {
        if (c == '#') {
            int value = -1;
            const auto [next, error] = std::from_chars(at, end, value);
            if (error != std::errc() || value < 0 || value > 99999) return std::nullopt;
            at = next;
            numbers.push_back(value);
        } else if (at == end || *at++ != c) {
            return std::nullopt;
        }
    }
    if (at != end) return std::nullopt;
    return numbers;
}

[[noreturn]] void refuse(const std::string& option, const std::string& text, const char* form) {
    throw ToolError(ExitCode::usage, option, fmt::format("{} is not understood", text), fmt::format("write {}", form));
}

}  // namespace

Size parseSize(const std::string& option, const std::string& text) {
    const auto numbers = matchNumbers("#x#", text);
    if (!numbers || (*numbers)[0] == 0 || (*numbers)[1] == 0) refuse(option, text, "WIDTHxHEIGHT, such as 720x576");
    return {(*numbers)[0], (*numbers)[1]};
}

Rectangle parseRectangle(const std::string& option, const std::string& text) {
    const auto numbers = matchNumbers("#x#+#+#", text);
    if (!numbers || (*numbers)[0] == 0 || (*numbers)[1] == 0)
        refuse(option, text, "WIDTHxHEIGHT+X+Y, such as 640x480+40+48");
    return {(*numbers)[0], (*numbers)[1], (*numbers)[2], (*numbers)[3]};
}

Ratio parseRate(const std::string& option, const std::string& text) {
    auto numbers = matchNumbers("#/#", text);
    if (!numbers && (numbers = matchNumbers("#", text))) numbers->push_back(1);
    if (!numbers || numbers->front() == 0 || numbers->back() == 0) refuse(option, text, "25 or 30000/1001");
    return {static_cast<std::uint32_t>(numbers->front()), static_cast<std::uint32_t>(numbers->back())};
}

std::array<std::uint8_t, 3> parseColour(const std::string& option, const std::string& text) {
    const auto numbers = matchNumbers("#,#,#", text);
    if (!numbers || std::any_of(numbers->begin(), numbers->end(), [](int n) { return n > 255; }))
        refuse(option, text, "Y,U,V from 0 to 255, such as 16,128,128");
    std::array<std::uint8_t, 3> colour;
    std::transform(numbers->begin(), numbers->end(), colour.begin(),
                   [](int n) { return static_cast<std::uint8_t>(n); });
    return colour;
}

}  // namespace OrvelTool
