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

std::shared_ptr<SocketLine> lineOf(const omni::giopConnection& connection) {
    const auto* const tcp = dynamic_cast<const omni::tcpConnection*>(&connection);
    return tcp != nullptr ? std::make_shared<SocketLine>(tcp->handle()) : nullptr;
}

}  // namespace

ReplyConnection::ReplyConnection(omni::giopConnection& inner)
    : inner_(inner), line_(lineOf(inner)) {
    watched_.emplace(descriptorOf(inner));
}

ReplyConnection::~ReplyConnection() {
    // first, because decrRefCount closes the socket
    watched_.reset();
    if (line_)
        line_->close();
    inner_.decrRefCount(true);
}

int ReplyConnection::Send(void* buffer, std::size_t size, const omni_time_t& deadline) {
    watched_->beginsToSend();
    const int count =
        line_ ? line_->send(buffer, size, deadline) : inner_.Send(buffer, size, deadline);
    // a call whose reply is awaited elsewhere still waits
    if (!line_ || !line_->isKeeping())
        watched_->returns();
    return count;
}

int ReplyConnection::Recv(void* buffer, std::size_t size, const omni_time_t& deadline) {
    watched_->beginsToReceive();
    const int count =
        line_ ? line_->receive(buffer, size, deadline) : inner_.Recv(buffer, size, deadline);
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
