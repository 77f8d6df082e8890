#include "gate_connection.h"

#include <poll.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <utility>

#include "../../gate/socket_address.h"

namespace kelp::orb {

namespace {

using gate::GatePeer;
using gate::OctetChannel;
using gate::Watcher;
using std::chrono::milliseconds;

/// How long a thread of the ORB's pool waits for the next request before it serves others.
constexpr milliseconds kPeekTime{50};

constexpr std::size_t kOnceMax = std::size_t{1} << 30;

/// Return the time left until a deadline of the ORB, which uses the clock of omni_thread.
milliseconds timeUntil(const omni_time_t& deadline) {
    omni_time_t now;
    omni_thread::get_time(now);
    const auto seconds = static_cast<std::int64_t>(deadline.s) - static_cast<std::int64_t>(now.s);
    const auto nanoseconds =
        static_cast<std::int64_t>(deadline.ns) - static_cast<std::int64_t>(now.ns);
    return milliseconds(std::max<std::int64_t>(seconds * 1000 + nanoseconds / 1000000, 0));
}

/// Return whether this is the CloseConnection that the ORB sends on each connection in turn when it
/// stops. No peer may make it wait.
bool isGoodbye(std::span<const std::uint8_t> octets) {
    return octets.size() == giop::kHeaderOctets &&
           octets[7] == static_cast<std::uint8_t>(giop::MessageType::CloseConnection);
}

}  // namespace

GateConnection::GateConnection(std::shared_ptr<Watcher> watcher, std::unique_ptr<GatePeer> peer,
                               const std::string& scheme)
    : watcher_(std::move(watcher)),
      peer_(std::move(peer)),
      nearAddress_(scheme + gate::nearEnd(peer_->channel().descriptor())),
      farAddress_(scheme + peer_->peer().withPort) {}

GateConnection::~GateConnection() {
    watcher_->remove(*this);
}

int GateConnection::Send(void* buffer, std::size_t size, const omni_time_t& deadline) {
    const std::span<const std::uint8_t> octets(static_cast<const std::uint8_t*>(buffer),
                                               std::min(size, kOnceMax));
    if (isGoodbye(octets)) {
        (void)peer_->write(octets, milliseconds(0));
        return static_cast<int>(octets.size());
    }
    const milliseconds unlimited(std::numeric_limits<std::int32_t>::max());
    const milliseconds usual = peer_->gate().settings().replyTimeout;
    const bool hasDeadline = deadline.s != 0 || deadline.ns != 0;
    const milliseconds limit = usual.count() > 0 ? usual : unlimited;
    // the clock is read only if the peer does not accept the octets at once
    const long sent = peer_->write(octets, milliseconds(0));
    if (sent != OctetChannel::kLater)
        return static_cast<int>(sent);
    return static_cast<int>(peer_->write(octets, hasDeadline ? timeUntil(deadline) : limit));
}

int GateConnection::Recv(void* buffer, std::size_t size, const omni_time_t&) {
    return static_cast<int>(
        peer_->read({static_cast<std::uint8_t*>(buffer), std::min(size, kOnceMax)}));
}

void GateConnection::setSelectable(int now, CORBA::Boolean dataInBuffer) {
    constexpr int onlyIfWatched = 2;
    if (now == onlyIfWatched && !watcher_->isWanted(*this))
        return;
    peer_->watched();
    const bool isReady = dataInBuffer || peer_->isReady();
    watcher_->want(*this, isReady    ? Watcher::When::AtOnce
                          : now != 0 ? Watcher::When::Now
                                     : Watcher::When::Soon);
}

CORBA::Boolean GateConnection::Peek() {
    if (!watcher_->isWanted(*this))
        return false;
    watcher_->unwant(*this);
    pollfd waiting{descriptor(), POLLIN, 0};
    if (peer_->isReady() || (::poll(&waiting, 1, static_cast<int>(kPeekTime.count())) > 0 &&
                             peer_->feed() == GatePeer::Fed::Ready))
        return true;
    watcher_->want(*this, Watcher::When::Now);
    return false;
}

}  // namespace kelp::orb
