#pragma once

#include <chrono>
#include <thread>

namespace kelp::test {

/// Maximum time a test waits for other processes before it fails. An idle machine needs far less.
inline constexpr std::chrono::seconds kPatience{40};

/// Wait until `condition` holds; false if it does not within the deadline. Polls rarely, to leave
/// the processor to the processes it waits for.
template <class Condition>
bool eventually(Condition condition, std::chrono::milliseconds deadline = kPatience) {
    const auto end = std::chrono::steady_clock::now() + deadline;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end)
            return condition();
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

}  // namespace kelp::test
