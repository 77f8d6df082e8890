#pragma once

#include <kelp/util/secret.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace kelp::traps {

/// Read a file that only its owner can read, and call `read` with the fields of each line that is
/// neither empty nor a comment, and with the beginning of a problem ("FILE:LINE: "). The fields are
/// valid during the call only.
void readSecretLines(
    const std::filesystem::path& file, std::vector<std::string>& problems,
    const std::function<void(const std::vector<std::string_view>&, const std::string&)>& read);

/// Append a field to a secret.
void append(std::string_view field, util::Secret& to);

}  // namespace kelp::traps
