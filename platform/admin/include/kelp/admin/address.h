#pragma once

#include <kelp/util/export.h>

#include <filesystem>
#include <string>

namespace kelp::admin {

/// Where the operator's interface of a host is.
struct KELP_EXPORT Address {
    std::filesystem::path socket;  ///< of a Unix socket; empty: host and port hold
    std::string host;              ///< a numeric address of the loopback interface
    int port = 0;
    std::filesystem::path
        tokenFile;  ///< with host and port: what a caller proves itself by stands in it

    /// In one line, for messages.
    std::string text() const;
};

/// The address that `[admin] listen` says, with its files in the state directory.
KELP_EXPORT Address configuredAddress();

}  // namespace kelp::admin
