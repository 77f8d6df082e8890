#pragma once

#include <kelp/util/export.h>

#include <filesystem>
#include <string>

namespace kelp::admin {

/// The address of a host's operator interface.
struct KELP_EXPORT Address {
    std::filesystem::path socket;  ///< a Unix socket; if empty, host and port apply
    std::string host;              ///< a numeric address of the loopback interface
    int port = 0;
    std::filesystem::path
        tokenFile;  ///< with host and port: the file with the token that authenticates a caller

    /// The address in one line, for messages.
    std::string text() const;
};

/// The address configured by `[admin] listen`. Its files are in the state directory.
KELP_EXPORT Address configuredAddress();

}  // namespace kelp::admin
