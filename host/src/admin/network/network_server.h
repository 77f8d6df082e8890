#pragma once

#include <kelp/admin/address.h>
#include <kelp/admin/registry.h>

#include <filesystem>
#include <optional>

#include "admin/http_listener.h"
#include "admin/network/operator_accounts.h"
#include "admin/network/server_certificate.h"

namespace kelp::host {

/// Where operators on other machines reach the operator's interface.
struct NetworkAddress {
    admin::Address address;             ///< host and port; any numeric address
    std::filesystem::path certificate;  ///< PEM file with a private key and its certificate
    std::filesystem::path operators;    ///< database of the operators' accounts
};

/// The address configured by `[admin] network_listen`. None: the interface is not on the network.
std::optional<NetworkAddress> configuredNetworkAddress();

/// The operator's interface for other machines: the status page and the requests that only read,
/// over TLS, for callers with the name and password of an operator's account.
class NetworkServer {
  public:
    /// Few operators read the page, and their browsers may be far away.
    static constexpr AdminLimits kLimits{.bodyBytesMax = 0,
                                         .headBytesMax = 16u << 10,
                                         .readTime = std::chrono::seconds(10),
                                         .writeTime = std::chrono::seconds(10),
                                         .threads = 4,
                                         .connectionsMax = 64,
                                         .connectionsPerAddressMax = 16};

    /// Start to listen. Throws std::runtime_error with a one-sentence text.
    explicit NetworkServer(const NetworkAddress& address, const AdminLimits& limits = kLimits,
                           admin::Registry& registry = admin::Registry::instance());

  private:
    HttpAnswers::Rules rules(const AdminLimits& limits);

    ServerCertificate certificate_;
    OperatorAccounts accounts_;
    HttpListener listener_;
};

}  // namespace kelp::host
