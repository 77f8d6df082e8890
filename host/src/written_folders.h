#pragma once

#include <filesystem>
#include <set>

namespace kelp::host {

/// The folders that the host writes to: the state directory, and those of the logs and the trace.
std::set<std::filesystem::path> writtenFolders();

}  // namespace kelp::host
