#include "model/address.h"

#include <arpa/inet.h>

#include <array>

namespace kelp::traps {

std::string commonText(const util::PeerAddress& address) {
    if (!address.ipv6)
        return address.text;
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (!::inet_ntop(AF_INET6, address.ipv6->data(), text.data(), text.size()))
        return address.text;
    return text.data();
}

}  // namespace kelp::traps
