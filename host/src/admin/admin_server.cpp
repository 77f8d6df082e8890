#include "admin_server.h"

#include <memory>
#include <utility>

namespace kelp::host {

namespace {

std::optional<AccessToken> tokenFor(const admin::Address& address) {
    return address.socket.empty() ? std::make_optional<AccessToken>(address.tokenFile)
                                  : std::nullopt;
}

AdminTransport transportOf(const admin::Address& address) {
    return address.socket.empty() ? AdminTransport::LoopbackPort : AdminTransport::UnixSocket;
}

std::filesystem::path folderOf(const admin::Address& address) {
    return (address.socket.empty() ? address.tokenFile : address.socket).parent_path();
}

std::shared_ptr<Connection> openPlain(util::Descriptor socket, const ConnectionLimits& limits) {
    return std::make_shared<Connection>(std::move(socket), limits);
}

}  // namespace

AdminServer::AdminServer(const admin::Address& address, const AdminLimits& limits,
                         admin::Registry& registry)
    : claim_(folderOf(address)),
      token_(tokenFor(address)),
      listener_("admin", address, limits, openPlain, registry, rulesFor(address, limits)) {}

HttpAnswers::Rules AdminServer::rulesFor(const admin::Address& address,
                                         const AdminLimits& limits) const {
    HttpAnswers::Rules rules;
    rules.bodyBytesMax = limits.bodyBytesMax;
    rules.transport = transportOf(address);
    rules.admits = [this](const httplib::Request& request) {
        // the files of the page hold no data; its script asks for the token
        return isPageFile(request) || !token_ ||
                       token_->isIn(request.get_header_value("Authorization"))
                   ? Admission::Admitted
                   : Admission::Refused;
    };
    return rules;
}

}  // namespace kelp::host
