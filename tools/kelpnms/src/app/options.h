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

/// The parsed command line.
struct Options {
    Command command = Command::Find;
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
    /// Number of pings to make, or of pings or events to wait for. 0 means no limit for watch and
    /// events.
    unsigned count = 0;
    std::optional<std::chrono::milliseconds> duration;  ///< how long watch and events run
    bool capabilities = false;
    std::string filter;      ///< filter constraint for events
    bool sequences = false;  ///< receive events in batches
    bool reconnect = true;   ///< log in again when the events end
    /// The EMS's heartbeat interval. None: it is learned from the first two heartbeats.
    std::optional<std::chrono::milliseconds> heartbeatInterval;
    ListOptions lists;
};

/// Read the command line. Returns none when the command line asked for help or the version, or was
/// wrong; that text has been written, and `exitCode` is set.
std::optional<Options> parseOptions(int argc, char** argv, int& exitCode);

}  // namespace kelp::nms
