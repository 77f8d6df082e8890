#pragma once

#include <kelp/orb/request.h>
#include <kelp/util/shared_mutex.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace NS_CORBA {

/// Keeps which log-ins the callers over each open connection have proved to be theirs. The proof is
/// a log-in over the connection, or a call on an object of the log-in's session, whose key nobody
/// else knows. Log-ins are identified by the names of their sessions. Any thread may call it;
/// nothing blocks.
class ConnectionLogIns {
  public:
    static ConnectionLogIns& Instance();

    /// An NMS has logged in over the connection from this peer.
    void LoggedIn(const kelp::util::PeerAddress& peer, const std::string& sessionName);
    /// A request has reached an object of a session.
    void Called(const kelp::orb::RequestInfo& request);
    /// The connection has ended, or another one begins from the same port.
    void Forget(const kelp::util::PeerAddress& peer);

    /// Return the log-ins of the request's connection, the one used last first. For a connection
    /// without known log-ins, return the only live log-in from its address; none if there are
    /// several.
    std::vector<std::string> Of(const kelp::orb::RequestInfo& request) const;

    ConnectionLogIns(const ConnectionLogIns&) = delete;
    ConnectionLogIns& operator=(const ConnectionLogIns&) = delete;

  private:
    using Names = std::vector<std::string>;

    ConnectionLogIns() = default;
    void noteLatest(const std::string& connection, const std::string& sessionName);

    mutable kelp::util::SharedMutex mutex_{kelp::util::LockRank::Leaf, "ConnectionLogIns::mutex_"};
    /// By peer address and port.
    std::unordered_map<std::string, Names> connections_ KELP_GUARDED_BY(mutex_);
    std::atomic<std::uint64_t> changes_{0};  ///< incremented with each change of connections_
};

}  // namespace NS_CORBA
