#include <kelp/admin/address.h>
#include <kelp/bundlemgr/config_store.h>

namespace kelp::admin {

std::string Address::text() const {
    if (!socket.empty())
        return socket.string();
    const bool isIpv6 = host.find(':') != std::string::npos;
    return (isIpv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

Address configuredAddress() {
    const std::filesystem::path folder = NS_BUNDLEMGR1::defaultStateDirectory();
    const std::string listen = NS_BUNDLEMGR1::ConfigStore::instance().text("admin.listen");
    Address address;
    if (listen.empty()) {
        address.socket = folder / "admin.sock";
        return address;
    }
    // the configuration check accepts only address:port and [address]:port
    const std::size_t colon = listen.rfind(':');
    address.host = listen.substr(0, colon);
    if (address.host.starts_with('['))
        address.host = address.host.substr(1, address.host.size() - 2);
    address.port = std::stoi(listen.substr(colon + 1));
    address.tokenFile = folder / "admin.token";
    return address;
}

}  // namespace kelp::admin
