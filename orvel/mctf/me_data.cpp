#include "orvel/mctf/me_data.h"

#include <algorithm>
#include <new>

namespace Orvel {

MEData::MEData() noexcept = default;
MEData::~MEData() = default;

bool MEData::allocate(int n) noexcept {
    blocks_.reset();
    count_ = 0;
    if (n < 0) return false;
    blocks_.reset(new (std::nothrow) MEBlockData[static_cast<std::size_t>(n)]);
    if (blocks_ == nullptr) return false;
    count_ = n;
    return true;
}

void MEData::clear() noexcept {
    std::fill_n(blocks_.get(), count_, MEBlockData{});
}

}  // namespace Orvel
