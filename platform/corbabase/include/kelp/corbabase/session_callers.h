#pragma once

#include <kelp/corbabase/session_token.h>
#include <kelp/orb/request.h>
#include <kelp/util/export.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <optional>
#include <shared_mutex>
#include <string>
#include <string_view>
#include <unordered_map>

namespace NS_CORBA {

/// The live sessions by the names of their top POAs, and who may call their objects: by `[access]
/// session_peer`, which is read again with the configuration, only the address that logged in, or
/// every one. Callable from any thread; queries share one lock and allocate nothing.
class KELP_EXPORT SessionCallers {
  public:
    static SessionCallers& Instance();

    /// The session is live from here on. `owner` tells it apart from others of the same name,
    /// before and after. A log-in inside the process has no peer: then its session may be called
    /// from everywhere.
    void Enter(const std::string& sessionName, const void* owner, const SessionToken& token,
               const kelp::orb::PeerAddress& peer);
    /// The session was taken up again from this address, and is called from there from here on.
    void Move(const std::string& sessionName, const void* owner,
              const kelp::orb::PeerAddress& peer);
    /// Nothing for a session that is not live, or a name that is another owner's.
    void Leave(const std::string& sessionName, const void* owner);

    bool IsLive(const std::string& sessionName) const;
    /// The name of the session that logged in from this address; none unless there is exactly one.
    std::optional<std::string> OnlyOneFrom(const kelp::orb::PeerAddress& peer) const;

    enum class Verdict {
        MayCall,  ///< its NMS, or the target is no session's object
        Stranger,
        IsOver  ///< there is no such session any more
    };
    /// For a request over a connection whose target was found.
    Verdict Judge(const kelp::orb::RequestInfo& request) const;
    /// Whether the object id of a session's object carries the secret of that session, which is
    /// live. False for other objects.
    bool KnowsSecret(const kelp::orb::RequestInfo& request) const;

    SessionCallers(const SessionCallers&) = delete;
    SessionCallers& operator=(const SessionCallers&) = delete;

  private:
    /// An address for comparing; IPv4 as IPv4-mapped IPv6.
    struct Address {
        std::array<unsigned char, 16> octets{};
        bool isKnown = false;
        static Address of(const kelp::orb::PeerAddress& peer);
        bool operator==(const Address&) const = default;
    };
    struct Session {
        const void* owner;
        SessionToken token;
        Address peer;
    };

    SessionCallers() = default;
    bool IsPeerBound() const;

    mutable std::shared_mutex mutex_;
    std::unordered_map<std::string, Session> sessions_;  // guarded by mutex_
    /// Twice the generation of the configuration that was read last, plus 1 for a bound peer: one
    /// value, so that nobody sees half of a re-read.
    mutable std::atomic<std::uint64_t> rule_{0};
};

/// Whether the POA name is a session's.
KELP_EXPORT bool isSessionName(std::string_view topPoaName);

}  // namespace NS_CORBA
