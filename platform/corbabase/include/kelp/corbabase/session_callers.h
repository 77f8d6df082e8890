#pragma once

#include <kelp/corbabase/call_meter.h>
#include <kelp/corbabase/session_token.h>
#include <kelp/orb/request.h>
#include <kelp/util/export.h>
#include <kelp/util/shared_mutex.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace NS_CORBA {

/// The live sessions by the names of their top POAs, and who may call their objects. `[access]
/// session_peer` decides: either only the address that logged in, or every address. It follows
/// reloads of the configuration. Any thread may call it. Queries take a shared lock, and those made
/// for every request allocate no memory.
class KELP_EXPORT SessionCallers {
  public:
    static SessionCallers& Instance();

    /// The session is live from here on. `owner` identifies it among earlier and later sessions of
    /// the same name. A log-in inside the process has no peer; its session may be called from
    /// everywhere.
    void Enter(const std::string& sessionName, const void* owner, const SessionToken& token,
               const kelp::util::PeerAddress& peer);
    /// The session was resumed from this address and may be called from there from here on.
    void Move(const std::string& sessionName, const void* owner,
              const kelp::util::PeerAddress& peer);
    /// The session has ended. Ignored when the session is not live or belongs to another owner.
    void Leave(const std::string& sessionName, const void* owner);

    bool IsLive(const std::string& sessionName) const;
    /// The name of the session that logged in from this address. None unless there is exactly one.
    std::optional<std::string> OnlyOneFrom(const kelp::util::PeerAddress& peer) const;

    enum class Verdict {
        MayCall,   ///< also if the target is not an object of a session
        Stranger,  ///< the session is bound to another address
        IsOver     ///< the session has ended
    };
    /// Judge a request that arrived over a connection and whose target was found. Count it if the
    /// caller may call.
    Verdict Judge(const kelp::orb::RequestInfo& request) const;
    /// The calls that this session of `owner` has received. All zero when it is not live.
    CallFigures CallsOf(const std::string& sessionName, const void* owner) const;
    /// Whether the target is an object of a live session and its object id ends in the secret of
    /// that session.
    bool KnowsSecret(const kelp::orb::RequestInfo& request) const;

    SessionCallers(const SessionCallers&) = delete;
    SessionCallers& operator=(const SessionCallers&) = delete;

  private:
    /// An address in comparable form: IPv4 as IPv4-mapped IPv6.
    struct Address {
        std::array<unsigned char, 16> octets{};
        bool isKnown = false;
        static Address of(const kelp::util::PeerAddress& peer);
        bool operator==(const Address&) const = default;
    };
    struct Session {
        const void* owner;
        SessionToken token;
        Address peer;
        std::unique_ptr<CallMeter> calls;
    };

    SessionCallers() = default;
    bool IsPeerBound() const;

    mutable kelp::util::SharedMutex mutex_{kelp::util::LockRank::Leaf, "SessionCallers::mutex_"};
    std::unordered_map<std::string, Session> sessions_ KELP_GUARDED_BY(mutex_);
    /// Twice the generation of the configuration read last, plus 1 when sessions are bound to their
    /// peer. One value, so that no thread sees a half-finished reload.
    mutable std::atomic<std::uint64_t> rule_{0};
};

/// Whether the POA name is that of a session.
KELP_EXPORT bool isSessionName(std::string_view topPoaName);

}  // namespace NS_CORBA
