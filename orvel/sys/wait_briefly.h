#pragma once
#include <thread>

namespace OrvelSys {

/// Looks again and again whether something has come about that another thread is about to do: far less than going to
/// sleep and waking up takes, and where that thread waits for a core, it gets this one.
/// @return whether it has; if not, it is time to sleep.
template <class Ready>
[[nodiscard]] bool waitBriefly(const Ready& ready) {
    for (int spin = 0; spin < 2000; ++spin)
        if (ready()) return true;
    for (int turn = 0; turn < 100; ++turn) {
        std::this_thread::yield();
        if (ready()) return true;
    }
    return false;
}

}  // namespace OrvelSys
