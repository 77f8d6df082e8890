#pragma once

#include <chrono>
#include <thread>

namespace kelp::test {

/// Poll `condition` until it holds or the deadline has passed, and return its last result. All
/// tests use it to wait for another thread or process.
template <class Condition>
bool waitUntil(Condition condition, std::chrono::milliseconds deadline = std::chrono::seconds(10)) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end)
            return condition();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

}  // namespace kelp::test
