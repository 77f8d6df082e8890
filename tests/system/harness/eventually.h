#pragma once

#include <chrono>
#include <thread>

namespace kelp::test {

/// How long a test waits for other processes before it fails. Far beyond what is needed on an idle
/// machine.
inline constexpr std::chrono::seconds kPatience{40};

/// Waits until `condition` holds; false when it does not within the deadline. Looks rarely enough
/// to leave the processor to the processes that are waited for.
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
