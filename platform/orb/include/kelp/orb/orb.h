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

/// Where this process listens, and with which limits. Plain values; the port turns them into the
/// ORB's options.
struct KELP_EXPORT OrbOptions {
    /// "host:port" or "[ipv6]:port"; port 0 lets the system choose. Empty (with tlsListen empty
    /// too): the ORB is a client with a call-back port of its own choice on all interfaces.
    std::vector<std::string> listen;
    std::string publish;  ///< host or host:port written into references; empty: as listened
    std::vector<std::string> tlsListen;  ///< as `listen`, over TLS
    /// Further addresses that are served likewise but stand in no reference: for callers who know a
    /// well-known key. An address that `listen` has as well is opened once.
    std::vector<std::string> keyListen;
    std::vector<std::string> tlsKeyListen;  ///< as `keyListen`, over TLS
    std::string tlsCaFile;                  ///< PEM; empty: no TLS
    std::string tlsKeyFile;                 ///< PEM, key and certificate in one file
    std::string tlsKeyPassword;             ///< may be empty for an unencrypted key
    std::string tlsCrlFile;  ///< PEM, revocation lists; empty: revocation is not checked
    std::string tlsCiphers = kTlsCiphers;
    std::string tlsCipherSuites = kTlsCipherSuites;
    bool tlsRequirePeerCertificate = true;
    /// Calling side: whether a server's certificate must be for the host that is called, or for
    /// another one.
    bool tlsCheckServer = false;
    std::string
        tlsServerName;  ///< that other name or address, of every server; empty: the host called
    bool tlsCallsOnly =
        false;  ///< calling side: a peer that cannot be reached over TLS is not called
    unsigned threadsMax =
        0;  ///< most threads that serve one connection's calls; 0: the ORB's default
    std::size_t messageBytesMax = 104857600;
    std::string charSet = "UTF-8";  ///< native code set of the char strings
    /// A character that the code set of a peer cannot hold: Refuse answers a request with
    /// DATA_CONVERSION and raises that for a call to a peer, QuestionMark sends a question mark in
    /// its place.
    enum class Unconvertible { Refuse, QuestionMark };
    Unconvertible unconvertible = Unconvertible::Refuse;
    unsigned connectionsPerServer = 64;  ///< calling side: most connections to one peer
    /// A reply that a client does not read is given up after this, with its connection; 0: never. A
    /// request whose end does not arrive is given up with the ORB's scan for idle connections.
    std::chrono::milliseconds replyTimeout{60000};
    /// What accepts connections: the gate of this product, or the ORB's own transport, which has
    /// none of the gate's limits and trusts whoever speaks GIOP to it.
    enum class Transport { Gate, Orb };
    Transport transport = Transport::Gate;
    GateLimits gateLimits;
    GatePolicy* gatePolicy =
        nullptr;  ///< null: everybody may connect, as if logged in. Outlives the ORB
};

/// Starts the process's ORB, endpoints open and callers held, with `hook` in place before the first
/// request can arrive; `hook` may be null and must outlive the ORB. Throws CORBA::INITIALIZE (or
/// another system exception) when an endpoint cannot be opened or an option is refused, BAD_PARAM
/// for TLS without usable certificates (the reason is traced). After destroy() of an ORB a new one
/// may be started; BAD_INV_ORDER before that.
KELP_EXPORT CORBA::ORB_ptr start(const OrbOptions& options, RequestHook* hook);

/// Serves requests until the ORB is shut down; returns after calls in progress have ended. Any
/// thread may call it. `threads` is how many threads shall serve where the ORB does not bring its
/// own.
KELP_EXPORT void serve(CORBA::ORB_ptr orb, unsigned threads);

/// Puts the POA manager into holding: from here on callers wait (they are not refused) until
/// letCallersThrough(). Returns when the calls in progress have ended, or at once from inside a
/// call. Well-known keys are held along with it. Both throw POAManager::AdapterInactive for a
/// manager that was deactivated.
KELP_EXPORT void holdCallers(PortableServer::POAManager_ptr manager);
KELP_EXPORT void letCallersThrough(PortableServer::POAManager_ptr manager);

/// Makes `servant`'s object reachable under a short well-known key:
/// corbaloc:iiop:1.2@HOST:PORT/<key>. `target` is the object's ordinary reference. The servant gets
/// one more reference for the activation. A key says nothing about callers being let through: it is
/// held until letCallersThrough(). Throws BAD_PARAM for a key in use, an empty key, no servant, or
/// a servant that has a well-known key already.
KELP_EXPORT void publishKey(CORBA::ORB_ptr orb, const std::string& key,
                            PortableServer::Servant servant, CORBA::Object_ptr target);

/// Takes back what publishKey did; calls in progress end normally. Unknown key, or an ORB that is
/// down: nothing.
KELP_EXPORT void withdrawKey(CORBA::ORB_ptr orb, const std::string& key);

}  // namespace kelp::orb
