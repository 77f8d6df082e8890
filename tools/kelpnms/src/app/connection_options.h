#pragma once

#include <chrono>
#include <string>

namespace kelp::nms {

/// The options that every command has: how to find the EMS and log in, and how to write the output.
struct ConnectionOptions {
    std::string naming;
    std::string factoryPath;  ///< empty: the only factory in the naming service
    /// IOR or corbaloc text from --ior's file. Empty: the factory is found in the naming service.
    std::string factoryReference;
    std::string user;
    std::string passwordFile;
    std::string listen;
    std::string tlsAuthorities;  ///< a file; empty: no TLS
    std::string tlsKeyFile;
    std::string tlsKeyPasswordFile;  ///< empty: the key has no password
    /// The name that every server's certificate must show. Empty: the host that is called.
    std::string tlsName;
    bool tlsChecksName = true;
    std::chrono::milliseconds timeout{};
    bool json = false;
    bool verbose = false;
};

}  // namespace kelp::nms
