#ifndef _WIN32
#define _FILE_OFFSET_BITS 64  // also where long has 32 bits
#endif
#include "orvel/sys/file.h"

#include <exception>
#include <string>

#ifndef _WIN32
#include <sys/types.h>

#include "orvel/sys/wide_to_mb.h"
#endif

namespace OrvelSys {

#ifdef _WIN32
std::FILE* openFile(const wchar_t* path, const char* mode) noexcept {
    if (path == nullptr) return nullptr;
    try {
        const std::string narrow(mode);
        std::FILE* stream = nullptr;
        return _wfopen_s(&stream, path, std::wstring(narrow.begin(), narrow.end()).c_str()) == 0 ? stream : nullptr;
    } catch (const std::exception&) {
        return nullptr;
    }
}
bool seek64(std::FILE* stream, std::int64_t offset, int origin) noexcept {
    return _fseeki64(stream, offset, origin) == 0;
}
std::int64_t tell64(std::FILE* stream) noexcept {
    return _ftelli64(stream);
}
#else
static_assert(sizeof(off_t) == 8);

std::FILE* openFile(const wchar_t* path, const char* mode) noexcept {
    try {
        std::string utf8;
        return WideToMB(path, utf8) ? std::fopen(utf8.c_str(), mode) : nullptr;
    } catch (const std::exception&) {
        return nullptr;
    }
}
bool seek64(std::FILE* stream, std::int64_t offset, int origin) noexcept {
    return fseeko(stream, offset, origin) == 0;
}
std::int64_t tell64(std::FILE* stream) noexcept {
    return ftello(stream);
}
#endif

}  // namespace OrvelSys
