#include "orvel/mctf/mctf_fast.h"

#include <utility>

namespace Orvel {

template <class T>
MCTFFast<T>::MCTFFast() = default;
template <class T>
MCTFFast<T>::~MCTFFast() {
    MCTFFast::deallocate();
}

template <class T>
bool MCTFFast<T>::allocate(MCTFFastParams& params) {
    deallocate();
    params_ = params;
    params_.me.width = params.width;
    params_.me.height = params.height;
    allocated_ = true;
    return true;
}

template <class T>
void MCTFFast<T>::deallocate() {
    motionEstimate_.deallocate();
    params_ = {};
    queued_ = 0;
    allocated_ = false;
}

template <class T>
T* MCTFFast<T>::popFront() noexcept {
    if (queued_ == 0) return nullptr;
    --queued_;
    return std::exchange(queue_[0], queue_[1]);
}

template class MCTFFast<I420Img>;

}  // namespace Orvel
