#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace kelp::state {

/// The end of the trace in a file and the files that were rotated before it, the oldest line first:
/// whole lines, at most `bytesMax` octets. Empty if there is no file. Throws std::runtime_error
/// with one sentence.
std::string endOfTrace(const std::filesystem::path& file, std::size_t bytesMax);

}  // namespace kelp::state
