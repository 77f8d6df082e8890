#include "admin_server.h"

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

std::optional<AccessToken> tokenFor(const admin::Address& address) {
    return address.socket.empty() ? std::make_optional<AccessToken>(address.tokenFile)
                                  : std::nullopt;
}

AdminTransport transportOf(const admin::Address& address) {
    return address.socket.empty() ? AdminTransport::LoopbackPort : AdminTransport::UnixSocket;
}

std::filesystem::path folderOf(const admin::Address& address) {
    return (address.socket.empty() ? address.tokenFile : address.socket).parent_path();
}

int eventDescriptor() {
    const int descriptor = ::eventfd(0, EFD_CLOEXEC);
    if (descriptor < 0)
        throw std::runtime_error(
            "the operator's interface cannot be watched over: no descriptor is left");
    return descriptor;
}

}  // namespace

AdminServer::AdminServer(const admin::Address& address, const AdminLimits& limits,
                         admin::Registry& registry)
    : limits_(limits),
      claim_(folderOf(address)),
      token_(tokenFor(address)),
      listener_(std::in_place, address),
      leaving_(eventDescriptor()),
      answers_(registry, {limits.bodyBytesMax, transportOf(address),
                          [this](const std::string& header) { return letsIn(header); }}),
      workers_(limits.threads) {
    try {
        acceptor_ = util::startThread("admin", [this] { acceptCallers(); });
    } catch (...) {
        workers_.shutdown();  // the destructor of the thread pool does not do this
        throw;
    }
}

AdminServer::~AdminServer() {
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

bool AdminServer::letsIn(const std::string& authorization) const {
    return !token_ || token_->isIn(authorization);
}

void AdminServer::acceptCallers() {
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

void AdminServer::take(util::Descriptor caller) {
    const auto connection = std::make_shared<Connection>(
        std::move(caller), ConnectionLimits{limits_.headBytesMax + limits_.bodyBytesMax,
                                            limits_.readTime, limits_.writeTime});
    {
        const util::MutexLock lock(mutex_);
        if (connections_.size() >= limits_.connectionsMax)
            return;
        connections_.push_back(connection);
    }
    workers_.enqueue([this, connection] { serve(connection); });
}

bool AdminServer::makeRoom() {
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

void AdminServer::serve(const ConnectionPtr& connection) {
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
