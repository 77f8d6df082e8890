#include "tls_channel.h"

#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "../tls/socket_bio.h"
#include "../tls/texts.h"
#include "socket_wait.h"

namespace kelp::orb::gate {

TlsChannel::TlsChannel(int descriptor, std::shared_ptr<SSL_CTX> context, std::shared_ptr<Gate> gate,
                       util::PeerAddress peer)
    : descriptor_(descriptor),
      context_(std::move(context)),
      gate_(std::move(gate)),
      peer_(std::move(peer)) {}

TlsChannel::~TlsChannel() {
    gate_->handshakes().leave(*this);
    // say goodbye, so that the peer does not take the end for an attack
    if (isEstablished_ && !isBroken_)
        SSL_shutdown(connection_.get());
    ERR_clear_error();
    connection_.reset();
    ::close(descriptor_);
}

long TlsChannel::receive(std::span<std::uint8_t> into, Wait wait) {
    for (;;) {
        const long count = receiveSome(into);
        if (count != kLater || wait == Wait::No)
            return count;
        waitUntilReadable(descriptor_);
    }
}

long TlsChannel::receiveSome(std::span<std::uint8_t> into) {
    const util::MutexLock lock(mutex_);
    if (isBroken_)
        return kEnded;
    if (!connection_) {
        if (const std::optional<long> notYet = begin())
            return *notYet;
    }
    ERR_clear_error();
    std::size_t count = 0;
    const int result = SSL_read_ex(connection_.get(), into.data(), into.size(), &count);
    if (!isEstablished_ && SSL_is_init_finished(connection_.get()) == 1)
        establish();
    return result == 1 ? static_cast<long>(count) : fail(result);
}

/// Create the library's state once the peer has sent something. Until then return the result of
/// receive().
std::optional<long> TlsChannel::begin() {
    char octet = 0;
    const ssize_t waiting = ::recv(descriptor_, &octet, 1, MSG_PEEK | MSG_DONTWAIT);
    if (waiting < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
        return kLater;
    isBroken_ = true;
    if (waiting <= 0)
        return kEnded;
    if (!gate_->handshakes().enter(*this, std::chrono::steady_clock::now())) {
        refuse("TLS: too many handshakes at a time");
        return kEnded;
    }
    OwnedBio socket = makeSocketBio(descriptor_);
    OwnedConnection made(SSL_new(context_.get()));
    if (!socket || !made) {
        refuse("TLS: no memory for a handshake");
        return kEnded;
    }
    BIO* const both = socket.release();
    SSL_set_bio(made.get(), both, both);
    SSL_set_accept_state(made.get());
    SSL_set_read_ahead(made.get(), 1);
    SSL_set_mode(made.get(), SSL_MODE_ENABLE_PARTIAL_WRITE | SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    connection_ = std::move(made);
    isBroken_ = false;
    return std::nullopt;
}

void TlsChannel::establish() {
    isEstablished_ = true;
    gate_->handshakes().leave(*this);
    if (SSL_get_verify_result(connection_.get()) == X509_V_OK)
        certificate_.reset(SSL_get1_peer_certificate(connection_.get()));
}

/// Return the result of receive() or send() for a failure of the library.
long TlsChannel::fail(int result) {
    const int error = SSL_get_error(connection_.get(), result);
    // the first answer to a peer fits into its socket's buffer, so nobody waits to write
    if (error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE)
        return kLater;
    isBroken_ = true;
    gate_->handshakes().leave(*this);
    if (!isEstablished_ && !isShutDown_)
        refuse(error == SSL_ERROR_SYSCALL ? "TLS: handshake broken off" : "TLS: " + tlsErrorText());
    ERR_clear_error();
    return kEnded;
}

void TlsChannel::refuse(const std::string& reason) {
    gate_->refused(peer_, reason);
}

bool TlsChannel::hasBuffered() const {
    const util::MutexLock lock(mutex_);
    return connection_ && !isBroken_ && SSL_has_pending(connection_.get()) == 1;
}

long TlsChannel::send(std::span<const std::uint8_t> octets, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    const std::unique_lock sending(sendMutex_, deadline);
    if (!sending.owns_lock())
        return kLater;
    // the library has to send the rest of another record first
    if (!unsent_.empty() && (unsent_.data() != octets.data() || unsent_.size() != octets.size()))
        return kEnded;
    for (;;) {
        const long count = sendSome(octets);
        unsent_ = count == kLater ? octets : std::span<const std::uint8_t>();
        if (count != kLater || !waitUntilWritable(descriptor_, deadline))
            return count;
    }
}

long TlsChannel::sendSome(std::span<const std::uint8_t> octets) {
    const util::MutexLock lock(mutex_);
    if (!isEstablished_ || isBroken_)
        return kEnded;
    ERR_clear_error();
    std::size_t count = 0;
    const int result = SSL_write_ex(connection_.get(), octets.data(), octets.size(), &count);
    return result == 1 ? static_cast<long>(count) : fail(result);
}

void TlsChannel::shutDown() {
    isShutDown_ = true;
    ::shutdown(descriptor_, SHUT_RDWR);
}

}  // namespace kelp::orb::gate
