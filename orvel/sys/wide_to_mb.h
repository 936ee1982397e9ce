#pragma once
#include <string>

#include "orvel/sys/api.h"

namespace OrvelSys {

/// Converts wide text to UTF-8. wchar_t holds UTF-16 units where it has two bytes and code points where it has four.
/// @param length wide characters to convert, which may include zeros; -1: up to the terminator, which stays behind.
/// @return false, with mb unchanged, when wide is null, length is below -1 or the text holds a lone surrogate or a
/// value above 0x10FFFF. Throws std::bad_alloc.
[[nodiscard]] ORVEL_API bool WideToMB(const wchar_t* wide, std::string& mb, int length = -1);

}  // namespace OrvelSys

namespace Orvel {
using OrvelSys::WideToMB;
}  // namespace Orvel
