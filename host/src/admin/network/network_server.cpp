#include "admin/network/network_server.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/users/user_database.h>
#include <kelp/util/peer_address.h>

#include <charconv>
#include <memory>
#include <string>
#include <utility>

#include "admin/network/tls_connection.h"

namespace kelp::host {

namespace {

using NS_BUNDLEMGR1::ConfigStore;

Admission admissionFor(OperatorAccounts::Verdict verdict) {
    switch (verdict) {
        case OperatorAccounts::Verdict::Admitted:
            return Admission::Admitted;
        case OperatorAccounts::Verdict::TooOften:
            return Admission::TooOften;
        case OperatorAccounts::Verdict::Refused:
            break;
    }
    return Admission::Refused;
}

}  // namespace

std::optional<NetworkAddress> configuredNetworkAddress() {
    const ConfigStore& config = ConfigStore::instance();
    const std::string listen = config.text("admin.network_listen");
    if (listen.empty())
        return std::nullopt;
    // the configuration's check has found a host and a port
    const std::size_t colon = listen.rfind(':');
    NetworkAddress network;
    network.address.host = listen.substr(0, colon);
    if (network.address.host.starts_with('['))
        network.address.host = network.address.host.substr(1, network.address.host.size() - 2);
    std::from_chars(listen.data() + colon + 1, listen.data() + listen.size(), network.address.port);
    network.certificate = config.text("admin.network_certificate");
    network.operators = users::operatorDatabaseFile();
    return network;
}

NetworkServer::NetworkServer(const NetworkAddress& address, const AdminLimits& limits,
                             admin::Registry& registry)
    : certificate_(address.certificate),
      accounts_(address.operators),
      listener_(
          "admin network", address.address, limits,
          [this](util::Descriptor socket, const ConnectionLimits& each) {
              return std::make_shared<TlsConnection>(std::move(socket), each,
                                                     *certificate_.current());
          },
          registry, rules(limits)) {}

HttpAnswers::Rules NetworkServer::rules(const AdminLimits& limits) {
    HttpAnswers::Rules rules;
    rules.bodyBytesMax = limits.bodyBytesMax;
    rules.transport = AdminTransport::Network;
    rules.readsOnly = true;
    rules.admits = [this](const httplib::Request& request) {
        util::PeerAddress peer = util::parseHostAddress(request.remote_addr);
        peer.port = static_cast<std::uint16_t>(request.remote_port);
        return admissionFor(accounts_.judge(request.get_header_value("Authorization"), peer,
                                            std::chrono::steady_clock::now()));
    };
    return rules;
}

}  // namespace kelp::host
