#include "admin/network/tls_connection.h"

#include <openssl/err.h>
#include <poll.h>

#include <algorithm>
#include <climits>
#include <new>
#include <utility>

namespace kelp::host {

namespace {

int intOf(std::size_t size) {
    return static_cast<int>(std::min<std::size_t>(size, INT_MAX));
}

}  // namespace

TlsConnection::TlsConnection(util::Descriptor socket, const ConnectionLimits& limits,
                             SSL_CTX& context)
    : Connection(std::move(socket), limits), tls_(::SSL_new(&context), &::SSL_free) {
    if (!tls_ || ::SSL_set_fd(tls_.get(), this->socket()) != 1)
        throw std::bad_alloc();
    ::SSL_set_accept_state(tls_.get());
}

void TlsConnection::finish() {
    ::ERR_clear_error();
    // without waiting for the peer's answer: the request had its one answer
    if (::SSL_is_init_finished(tls_.get()) == 1)
        ::SSL_shutdown(tls_.get());
    ::ERR_clear_error();
    Connection::finish();
}

bool TlsConnection::mayContinue(int result, Clock::time_point until) const {
    switch (::SSL_get_error(tls_.get(), result)) {
        case SSL_ERROR_WANT_READ:
            return !isCut() && waitFor(POLLIN, until);
        case SSL_ERROR_WANT_WRITE:
            return waitFor(POLLOUT, until);
        default:
            return false;
    }
}

ssize_t TlsConnection::receive(char* to, std::size_t room, Clock::time_point until) {
    for (;;) {
        ::ERR_clear_error();
        const int got = ::SSL_read(tls_.get(), to, intOf(room));
        if (got > 0)
            return got;
        // also check the time: a peer that sends handshake messages without end always has data
        if (Clock::now() >= until || !mayContinue(got, until))
            return -1;
    }
}

ssize_t TlsConnection::send(const char* from, std::size_t size, Clock::time_point until) {
    for (;;) {
        ::ERR_clear_error();
        const int sent = ::SSL_write(tls_.get(), from, intOf(size));
        if (sent > 0)
            return sent;
        if (Clock::now() >= until || !mayContinue(sent, until))
            return -1;
    }
}

}  // namespace kelp::host
