#include "omniorb/calls/outgoing_handshakes.h"

#include <memory>
#include <new>

#include "omniorb/calls/call_watch.h"
#include "tls/refusals.h"

namespace kelp::orb {

namespace {

using Watched = CallWatch::Connection;

/// Called by the library when it frees a connection, which happens before the ORB closes its
/// socket.
void freeWatched(void*, void* watched, CRYPTO_EX_DATA*, int, long, void*) {
    std::unique_ptr<Watched>(static_cast<Watched*>(watched)).reset();
}

int watchedIndex() {
    static const int index = SSL_get_ex_new_index(0, nullptr, nullptr, nullptr, freeWatched);
    return index;
}

void replaceWatched(SSL* connection, std::unique_ptr<Watched> next) {
    const std::unique_ptr<Watched> before(
        static_cast<Watched*>(SSL_get_ex_data(connection, watchedIndex())));
    SSL_set_ex_data(connection, watchedIndex(), next.release());
}

}  // namespace

void watchHandshake(const SSL* connection, int where, int value) {
    traceRefusal(connection, where, value);
    if (SSL_is_server(connection) == 1)
        return;
    auto* const own = const_cast<SSL*>(connection);
    if ((where & SSL_CB_HANDSHAKE_START) != 0) {
        std::unique_ptr<Watched> watched(new (std::nothrow) Watched(SSL_get_fd(connection)));
        if (watched)
            watched->beginsToReceive();
        replaceWatched(own, std::move(watched));
    } else if ((where & SSL_CB_HANDSHAKE_DONE) != 0) {
        replaceWatched(own, nullptr);
    }
}

}  // namespace kelp::orb
