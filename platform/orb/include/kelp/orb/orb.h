#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>
#include <kelp/orb/gate.h>
#include <kelp/orb/request.h>
#include <kelp/orb/tls_suites.h>

#include <chrono>
#include <string>
#include <vector>

namespace kelp::orb {

/// Addresses, TLS settings and limits of the process's ORB. Plain values, which the port translates
/// into the ORB's options.
struct KELP_EXPORT OrbOptions {
    /// Addresses to listen on: "host:port" or "[ipv6]:port". With port 0 the system chooses the
    /// port. When `listen` and `tlsListen` are both empty the ORB is a client: it listens for
    /// call-backs on all interfaces, on a port that it chooses.
    std::vector<std::string> listen;
    /// Host, or host:port, to write into references. Empty: the addresses listened on.
    std::string publish;
    std::vector<std::string> tlsListen;  ///< as `listen`, over TLS
    /// Further addresses to listen on. They are not written into references, and are meant for
    /// callers who know a well-known key. An address that is also in `listen` is opened once.
    std::vector<std::string> keyListen;
    std::vector<std::string> tlsKeyListen;  ///< as `keyListen`, over TLS
    std::string tlsCaFile;                  ///< PEM file; empty: no TLS
    std::string tlsKeyFile;                 ///< PEM, key and certificate in one file
    std::string tlsKeyPassword;             ///< may be empty for an unencrypted key
    std::string tlsCrlFile;  ///< PEM, revocation lists; empty: revocation is not checked
    std::string tlsCiphers = kTlsCiphers;
    std::string tlsCipherSuites = kTlsCipherSuites;
    bool tlsRequirePeerCertificate = true;
    /// Calling side: whether to check that a server's certificate is for the called host, or for
    /// `tlsServerName` if that is set.
    bool tlsCheckServer = false;
    /// Calling side: the name or address that every server's certificate must be for. Empty: the
    /// called host.
    std::string tlsServerName;
    /// Calling side: never call a peer without TLS. A peer that cannot be reached over TLS is not
    /// called.
    bool tlsCallsOnly = false;
    /// Maximum threads that serve the calls of one connection. 0: the ORB's default, 100.
    unsigned threadsMax = 0;
    std::size_t messageBytesMax = 104857600;
    std::string charSet = "UTF-8";  ///< native code set of the char strings
    /// How to handle a character that a peer's code set cannot represent. Refuse answers a request
    /// with DATA_CONVERSION, and raises DATA_CONVERSION for a call to a peer. QuestionMark sends a
    /// question mark instead.
    enum class Unconvertible { Refuse, QuestionMark };
    Unconvertible unconvertible = Unconvertible::Refuse;
    unsigned connectionsPerServer = 64;  ///< calling side: maximum connections to one peer
    /// Maximum time for a client to read a reply. After that the reply is dropped and the
    /// connection is closed. 0: no limit. A request whose end does not arrive is dropped by the
    /// ORB's scan for idle connections.
    std::chrono::milliseconds replyTimeout{60000};
    /// The transport that accepts connections: the product's gate, or the ORB's own transport. The
    /// ORB's transport has none of the gate's limits and trusts every peer that speaks GIOP.
    enum class Transport { Gate, Orb };
    Transport transport = Transport::Gate;
    GateLimits gateLimits;
    /// Null: everybody may connect and counts as logged in. Must outlive the ORB.
    GatePolicy* gatePolicy = nullptr;
};

/// Start the process's ORB and open its endpoints. Callers are held until letCallersThrough(). The
/// caller of start() owns the reference. `hook` is in place before the first request can arrive. It
/// may be null, and must outlive the ORB. Throws CORBA::INITIALIZE or another system exception when
/// an endpoint cannot be opened or an option is refused. Throws BAD_PARAM for TLS without usable
/// certificates; the reason is traced. Throws BAD_INV_ORDER while an earlier ORB has not been
/// destroyed.
KELP_EXPORT CORBA::ORB_ptr start(const OrbOptions& options, RequestHook* hook);

/// Serve requests until the ORB is shut down. Returns after the calls in progress have ended.
/// Callable from any thread. `threads` is the number of serving threads for an ORB that does not
/// create its own.
KELP_EXPORT void serve(CORBA::ORB_ptr orb, unsigned threads);

/// Put the POA manager into the holding state. From now on callers wait, and are not refused, until
/// letCallersThrough(). Returns when the calls in progress have ended, or at once when called from
/// inside a call. Calls to well-known keys are held too. Both functions throw
/// POAManager::AdapterInactive for a manager that was deactivated.
KELP_EXPORT void holdCallers(PortableServer::POAManager_ptr manager);
KELP_EXPORT void letCallersThrough(PortableServer::POAManager_ptr manager);

/// Make `servant` reachable under a short well-known key: `corbaloc:iiop:1.2@HOST:PORT/<key>`.
/// `target` is the object's ordinary reference. The activation adds a reference to the servant.
/// Publishing does not let callers through: calls to the key are held until letCallersThrough().
/// Throws BAD_PARAM for a key in use, an empty key, a null servant, or a servant that has a
/// well-known key already.
KELP_EXPORT void publishKey(CORBA::ORB_ptr orb, const std::string& key,
                            PortableServer::Servant servant, CORBA::Object_ptr target);

/// Undo publishKey(). Calls in progress end normally. Does nothing for an unknown key, or when the
/// ORB is down.
KELP_EXPORT void withdrawKey(CORBA::ORB_ptr orb, const std::string& key);

}  // namespace kelp::orb
