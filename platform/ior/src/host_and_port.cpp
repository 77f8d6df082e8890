#include <kelp/ior/reference_content.h>

namespace kelp::ior {

std::string hostAndPort(const Endpoint& endpoint) {
    const bool bareIpv6 =
        endpoint.host.find(':') != std::string::npos && endpoint.host.front() != '[';
    const std::string host = bareIpv6 ? "[" + endpoint.host + "]" : endpoint.host;
    return host + ":" + std::to_string(endpoint.port);
}

}  // namespace kelp::ior
