#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "app/list_options.h"

namespace kelp::nms {

enum class Command {
    Find,
    Managers,
    Ping,
    Ems,
    Watch,
    Events,
    Elements,
    Ports,
    Equipment,
    Links,
    Dump
};

/// What the command line asks for.
struct Options {
    Command command = Command::Find;
    std::string naming;
    std::string factoryPath;       ///< empty: the only one there is
    std::string factoryReference;  ///< IOR or corbaloc text out of --ior's file; empty: by the
                                   ///< naming service
    std::string user;
    std::string passwordFile;
    std::string listen;
    std::string tlsAuthorities;  ///< file; empty: no TLS
    std::string tlsKeyFile;
    std::string tlsKeyPasswordFile;  ///< empty: the key has no password
    std::string tlsName;  ///< of every server's certificate; empty: the host that is called
    bool tlsChecksName = true;
    std::chrono::milliseconds timeout{};
    bool json = false;
    bool verbose = false;
    unsigned count =
        0;  ///< pings to make, pings or events to wait for; 0 of watch and events: no limit
    std::optional<std::chrono::milliseconds> duration;  ///< how long to watch
    bool capabilities = false;
    std::string filter;                                          ///< of events
    bool sequences = false;                                      ///< events in batches
    bool reconnect = true;                                       ///< when events end
    std::optional<std::chrono::milliseconds> heartbeatInterval;  ///< of the EMS; none: learned
    ListOptions lists;
};

/// Reads the command line. None when it asked for help or the version, or was wrong; that has been
/// told, and `exitCode` is set.
std::optional<Options> parseOptions(int argc, char** argv, int& exitCode);

}  // namespace kelp::nms
