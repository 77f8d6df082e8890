#include "omniorb/calls/reply_connection.h"

#include <omniORB4/sslContext.h>
// needs the header above
#include <omniORB4/sslConnection.h>
#include <omniORB4/tcpConnection.h>

#include "trace.h"

namespace kelp::orb {

namespace {

int descriptorOf(const omni::giopConnection& connection) {
    if (const auto* const tcp = dynamic_cast<const omni::tcpConnection*>(&connection))
        return tcp->handle();
    if (const auto* const tls = dynamic_cast<const omni::sslConnection*>(&connection))
        return tls->handle();
    return -1;
}

}  // namespace

ReplyConnection::ReplyConnection(omni::giopConnection& inner) : inner_(inner) {
    watched_.emplace(descriptorOf(inner));
}

ReplyConnection::~ReplyConnection() {
    watched_.reset();  // first, because decrRefCount closes the socket
    inner_.decrRefCount(true);
}

int ReplyConnection::Send(void* buffer, std::size_t size, const omni_time_t& deadline) {
    watched_->beginsToSend();
    const int count = inner_.Send(buffer, size, deadline);
    watched_->returns();
    return count;
}

int ReplyConnection::Recv(void* buffer, std::size_t size, const omni_time_t& deadline) {
    watched_->beginsToReceive();
    const int count = inner_.Recv(buffer, size, deadline);
    watched_->returns();
    if (count <= 0)
        return count;
    if (framing_.accepts(
            {static_cast<const std::uint8_t*>(buffer), static_cast<std::size_t>(count)}))
        return count;
    traceException(std::string("the connection to ") + inner_.peeraddress() +
                   " is closed: it has sent what no reply is");
    return -1;
}

}  // namespace kelp::orb
