#include "orvel/sys/wide_to_mb.h"

#include <cstddef>
#include <string_view>

#include "orvel/sys/utf8.h"

namespace OrvelSys {

bool WideToMB(const wchar_t* wide, std::string& mb, int length) {
    if (wide == nullptr || length < -1) return false;
    return toUtf8(length < 0 ? std::wstring_view(wide) : std::wstring_view(wide, static_cast<std::size_t>(length)), mb);
}

}  // namespace OrvelSys
