#pragma once

#include <chrono>

namespace kelp::orb::gate {

/// Wait until there is something to read, or the connection has ended.
void waitUntilReadable(int descriptor);

/// Wait until there is room to write, or the connection has ended. Return false at the deadline.
bool waitUntilWritable(int descriptor, std::chrono::steady_clock::time_point deadline);

}  // namespace kelp::orb::gate
