#pragma once

#include <kelp/orb/tls_files.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelp::host {

/// How the embedded naming service is reached over TLS.
struct NamingTls {
    std::uint16_t port = 0;
    orb::TlsFiles files;
    /// Whether a client must show a certificate.
    bool requirePeerCertificate = true;
};

/// How the embedded naming service is run.
struct NamingSettings {
    std::string host = "127.0.0.1";
    /// For TCP; none when it is to be reached over TLS alone.
    std::optional<std::uint16_t> port = 4801;
    std::optional<NamingTls> tls;
    /// Where it keeps its bindings and its log; made when missing.
    std::filesystem::path dataDirectory;
    std::string program = "omniNames";
    /// How long the first start may take until it answers.
    std::chrono::milliseconds answerLimit = std::chrono::seconds(10);
    /// Pause before a restart; doubled each time up to the longest, and short again once it has run that
    /// long.
    std::chrono::milliseconds firstPause = std::chrono::milliseconds(250);
    std::chrono::milliseconds longestPause = std::chrono::seconds(30);
    /// How long it may take to end when asked to.
    std::chrono::milliseconds stopLimit = std::chrono::seconds(3);
};

/// The ports that the service listens on, at least one.
std::vector<std::uint16_t> portsOf(const NamingSettings& settings);

/// True when every port is free; else one clear sentence about one that is not.
bool portsAreFree(const NamingSettings& settings, std::string& whyNot);

/// Where the service listens, as the ORB's endpoint texts.
std::vector<std::string> endpointsOf(const NamingSettings& settings);

/// Writes the service's ORB options to a file that only this user can read, because anybody can read a
/// command line. The file takes the place of the machine's own options. False, with the reason, when it
/// cannot be written.
bool writeOrbOptions(const NamingSettings& settings, const std::filesystem::path& file, std::string& whyNot);

/// The configured settings. Throws StartFailure for what cannot be used.
NamingSettings configuredNaming();

/// Where NMS find the naming service, embedded or not, as a corbaloc.
std::string configuredNamingAddress();

}  // namespace kelp::host
