#pragma once

#include <kelp/bundlemgr/config_store.h>
#include <kelp/orb/orb.h>

#include <optional>
#include <string>

namespace NS_CORBA {

/// The configuration, and a setting of it that is a number.
const NS_BUNDLEMGR1::ConfigStore& config();
int number(const std::string& key);

/// The settings of session supervision. They are read together when the ORB starts and kept until
/// it starts again.
struct SessionSettings {
    int releaseStrategy = 0;
    bool pingMode = true;
    int pingIntervalS = 60;
    int callTimeoutS = 10;
    int silentTimeS = 1800;
    int pingThreads = 32;
    bool callIsLife = false;
    bool operator==(const SessionSettings&) const = default;
};

SessionSettings readSessionSettings();

/// Read [orb] and [tls] as options for the ORB. None, with the reason, when they contradict each
/// other or a file that they name cannot be read.
std::optional<kelp::orb::OrbOptions> readOrbOptions(std::string& whyNot);

/// Format the addresses that the ORB listens on, for messages: "127.0.0.1:4800, [::1]:4843 (TLS)".
std::string listenText(const kelp::orb::OrbOptions& options);

/// True for a standard manager that `[managers] offered` names, and for every other name.
bool isManagerOffered(const std::string& name);

/// Host, plain port and TLS port of a service that the agent uses.
struct ServiceAddress {
    std::string host;
    int port = 0;
    int sslPort = 0;
};

/// Read the address from a table of the configuration ("naming" or "notification").
ServiceAddress readServiceAddress(const std::string& table);

}  // namespace NS_CORBA
