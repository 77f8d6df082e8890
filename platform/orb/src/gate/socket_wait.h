#pragma once

#include <chrono>

namespace kelp::orb::gate {

/// Waits until there is something to read, or the connection has ended.
void waitUntilReadable(int descriptor);

/// Waits until there is room to write, or the connection has ended. False when the time is over.
bool waitUntilWritable(int descriptor, std::chrono::steady_clock::time_point deadline);

}  // namespace kelp::orb::gate
