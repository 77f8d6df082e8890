#pragma once

#include <kelp/orb/request.h>

#include <atomic>
#include <cstdint>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace NS_CORBA {

/// Which log-ins the callers over each open connection have shown to be theirs: by logging in over
/// it, or by calling an object of the log-in's session, whose key nobody else knows. Log-ins go by
/// the names of their sessions. Callable from any thread; none of it waits.
class ConnectionLogIns {
  public:
    static ConnectionLogIns& Instance();

    /// Somebody has logged in over the connection from this peer.
    void LoggedIn(const kelp::orb::PeerAddress& peer, const std::string& sessionName);
    /// A request has reached an object of the session.
    void Called(const kelp::orb::RequestInfo& request);
    /// The connection has ended, or another one begins from the same port.
    void Forget(const kelp::orb::PeerAddress& peer);

    /// The log-ins of the request's connection, the one that was used last first. Of a connection
    /// that has shown none, the only one that is live from its address; none if there are several.
    std::vector<std::string> Of(const kelp::orb::RequestInfo& request) const;

    ConnectionLogIns(const ConnectionLogIns&) = delete;
    ConnectionLogIns& operator=(const ConnectionLogIns&) = delete;

  private:
    using Names = std::vector<std::string>;

    ConnectionLogIns() = default;
    void noteLatest(const std::string& connection, const std::string& sessionName);

    mutable std::shared_mutex mutex_;
    std::unordered_map<std::string, Names> connections_;  // by address and port; guarded by mutex_
    std::atomic<std::uint64_t> changes_{0};               ///< of connections_
};

}  // namespace NS_CORBA
