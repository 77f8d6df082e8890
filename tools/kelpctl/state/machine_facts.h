#pragma once

#include <kelp/admin/registry.h>
#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <vector>

namespace kelp::state {

/// The kernel, its limits and the memory; with the limits and the memory of a process if one is
/// given. What cannot be read is missing.
admin::Json machineFacts(std::optional<pid_t> process);

/// Size, mode, owner and time of change of each file that exists, without its content.
admin::Json fileFacts(const std::vector<std::filesystem::path>& files);

/// Size and free room of the disks of the folders.
admin::Json diskFacts(const std::vector<std::filesystem::path>& folders);

}  // namespace kelp::state
