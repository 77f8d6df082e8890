#include "http_listener.h"

#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace kelp::host {

namespace {

/// Pause before the next attempt to accept, when the process has no descriptor left for a caller.
constexpr int kNoDescriptorPauseMs = 100;
/// Interval of the checks for silent callers, while callers wait for a thread.
constexpr int kCrowdedPauseMs = 20;
constexpr int kNoEnd = -1;

int eventDescriptor() {
    const int descriptor = ::eventfd(0, EFD_CLOEXEC);
    if (descriptor < 0)
        throw std::runtime_error(
            "the operator's interface cannot be watched over: no descriptor is left");
    return descriptor;
}

}  // namespace

HttpListener::HttpListener(const std::string& name, const admin::Address& address,
                           const AdminLimits& limits, Open open, admin::Registry& registry,
                           HttpAnswers::Rules rules)
    : limits_(limits),
      open_(std::move(open)),
      listener_(std::in_place, address),
      leaving_(eventDescriptor()),
      answers_(registry, std::move(rules)),
      workers_(limits.threads) {
    try {
        acceptor_ = util::startThread(name, [this] { acceptCallers(); });
    } catch (...) {
        workers_.shutdown();  // the destructor of the thread pool does not do this
        throw;
    }
}

HttpListener::~HttpListener() {
    const std::uint64_t one = 1;
    while (::write(leaving_.get(), &one, sizeof one) < 0 && errno == EINTR) {
    }
    acceptor_.join();
    listener_.reset();  // from now on callers are refused at once
    {
        const util::MutexLock lock(mutex_);
        for (const ConnectionPtr& connection : connections_)
            connection->cut();
    }
    workers_.shutdown();
}

void HttpListener::acceptCallers() {
    pollfd waiting[] = {{leaving_.get(), POLLIN, 0}, {listener_->descriptor(), POLLIN, 0}};
    for (;;) {
        if (::poll(waiting, std::size(waiting), makeRoom() ? kCrowdedPauseMs : kNoEnd) <= 0)
            continue;
        if (waiting[0].revents != 0)
            return;
        util::Descriptor caller = listener_->accept();
        if (caller.isOpen())
            take(std::move(caller));
        else if (errno != EAGAIN)
            ::poll(waiting, 1, kNoDescriptorPauseMs);
    }
}

void HttpListener::take(util::Descriptor caller) {
    ConnectionPtr connection;
    try {
        connection =
            open_(std::move(caller), ConnectionLimits{limits_.headBytesMax + limits_.bodyBytesMax,
                                                      limits_.readTime, limits_.writeTime});
    } catch (...) {
        util::traceFrom("admin", "a caller was refused: " + util::currentExceptionText());
        return;
    }
    {
        const util::MutexLock lock(mutex_);
        if (!hasRoomFor(*connection))
            return;
        connections_.push_back(connection);
    }
    workers_.enqueue([this, connection] { serve(connection); });
}

bool HttpListener::hasRoomFor(const Connection& caller) const {
    const auto ofSameAddress = std::count_if(
        connections_.begin(), connections_.end(),
        [&](const ConnectionPtr& each) { return each->peerNetwork() == caller.peerNetwork(); });
    return connections_.size() < limits_.connectionsMax &&
           static_cast<std::size_t>(ofSameAddress) < limits_.connectionsPerAddressMax;
}

bool HttpListener::makeRoom() {
    const util::MutexLock lock(mutex_);
    if (connections_.size() <= limits_.threads)
        return false;
    std::size_t wanted = connections_.size() - limits_.threads;
    for (const ConnectionPtr& each : connections_) {
        if (wanted > 0 && each->owesRequestFor(limits_.patience)) {
            each->cut();
            --wanted;
        }
    }
    return true;
}

void HttpListener::serve(const ConnectionPtr& connection) {
    try {
        answers_.serve(*connection);
        connection->finish();
    } catch (...) {
        util::traceFrom("admin",
                        "a request could not be answered: " + util::currentExceptionText());
    }
    const util::MutexLock lock(mutex_);
    connections_.remove(connection);
}

}  // namespace kelp::host
