#include "reply_connection.h"

#include "../trace.h"

namespace kelp::orb {

int ReplyConnection::Recv(void* buffer, std::size_t size, const omni_time_t& deadline) {
    const int count = inner_.Recv(buffer, size, deadline);
    if (count <= 0)
        return count;
    if (framing_.accepts({static_cast<const std::uint8_t*>(buffer), static_cast<std::size_t>(count)}))
        return count;
    traceException(std::string("the connection to ") + inner_.peeraddress() +
                   " is closed: it has sent what no reply is");
    return -1;
}

}  // namespace kelp::orb
