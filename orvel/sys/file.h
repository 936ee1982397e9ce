#pragma once
#include <cstdint>
#include <cstdio>

namespace OrvelSys {

/// Opens a file under a wide path with a mode of std::fopen ("r+b"). Where the system has no wide paths the path is
/// taken as UTF-8. @return null when the file does not open, the path is null or no valid text, or memory runs out.
[[nodiscard]] std::FILE* openFile(const wchar_t* path, const char* mode) noexcept;

/// std::fseek and std::ftell with 64-bit positions everywhere.
[[nodiscard]] bool seek64(std::FILE* stream, std::int64_t offset, int origin) noexcept;
/// @return -1 when the stream has no position.
[[nodiscard]] std::int64_t tell64(std::FILE* stream) noexcept;

}  // namespace OrvelSys
