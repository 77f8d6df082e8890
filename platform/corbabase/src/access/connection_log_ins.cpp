#include "access/connection_log_ins.h"

#include <kelp/corbabase/session_callers.h>

#include <algorithm>
#include <optional>

namespace NS_CORBA {

using kelp::util::ExclusiveLock;
using kelp::util::SharedLock;

namespace {

/// Maximum number of log-ins remembered for one connection. A program with more of them no longer
/// uses the oldest.
constexpr std::size_t kLogInsMax = 200;

/// What the thread's last request over a connection proved. Most requests prove the same again.
struct LastCall {
    std::string connection;
    std::string sessionName;
    std::uint64_t changes = 0;
};

}  // namespace

ConnectionLogIns& ConnectionLogIns::Instance() {
    // never destroyed, because requests and connections on the ORB's threads may outlive main
    static auto* const instance = new ConnectionLogIns;
    return *instance;
}

void ConnectionLogIns::LoggedIn(const kelp::util::PeerAddress& peer,
                                const std::string& sessionName) {
    if (!peer.withPort.empty())
        noteLatest(peer.withPort, sessionName);
}

void ConnectionLogIns::Called(const kelp::orb::RequestInfo& request) {
    thread_local LastCall last;
    const std::string& connection = request.peer().withPort;
    // read the counter first: a change from here on is then noted with the next call
    const std::uint64_t changes = changes_.load();
    if (connection.empty() || (last.changes == changes && last.connection == connection &&
                               last.sessionName == request.topPoaName()))
        return;
    noteLatest(connection, request.topPoaName());
    last = {connection, request.topPoaName(), changes};
}

void ConnectionLogIns::noteLatest(const std::string& connection, const std::string& sessionName) {
    {
        const SharedLock lock(mutex_);
        const auto found = connections_.find(connection);
        if (found != connections_.end() && !found->second.empty() &&
            found->second.front() == sessionName)
            return;
    }
    const ExclusiveLock lock(mutex_);
    Names& names = connections_[connection];
    std::erase(names, sessionName);
    names.insert(names.begin(), sessionName);
    if (names.size() > kLogInsMax)
        names.pop_back();
    ++changes_;
}

void ConnectionLogIns::Forget(const kelp::util::PeerAddress& peer) {
    const ExclusiveLock lock(mutex_);
    if (connections_.erase(peer.withPort) > 0)
        ++changes_;
}

std::vector<std::string> ConnectionLogIns::Of(const kelp::orb::RequestInfo& request) const {
    {
        const SharedLock lock(mutex_);
        const auto found = connections_.find(request.peer().withPort);
        if (found != connections_.end() && !found->second.empty())
            return found->second;
    }
    const std::optional<std::string> only = SessionCallers::Instance().OnlyOneFrom(request.peer());
    return only ? Names{*only} : Names();
}

}  // namespace NS_CORBA
