#pragma once

#include <kelp/nms/error.h>
#include <kelp/nms/listener.h>
#include <kelp/nms/session.h>
#include <kelp/orb/corba.h>
#include <mtnm/emsSessionFactory.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelp::nms {

/// The TLS settings of an NMS. All files are PEM.
struct NmsTls {
    std::string authorities;  ///< certificates of the authorities that sign the EMS's certificate
    std::string keyFile;      ///< this NMS's private key and certificate
    std::string keyPassword;  ///< empty if the key has no password
    /// Whether a server's certificate must match the host that is called, or `serverName` if that
    /// is set.
    bool checkServer = true;
    /// Name or address that every server's certificate must show. Empty: the host that is called.
    std::string serverName = {};
};

/// The settings of an NMS.
struct NmsSettings {
    /// The naming service: corbaloc or IOR text.
    std::string naming = "corbaloc:iiop:127.0.0.1:4801/NameService";
    /// "host:port" where this NMS receives the EMS's calls; port 0 means any free port. Empty: the
    /// address of this host on the route to the naming service, with any free port.
    std::string listen;
    /// Time limit of every call, including the time to connect.
    std::chrono::milliseconds timeout = std::chrono::seconds(30);
    /// Maximum size of a CORBA message that is accepted or sent, in bytes.
    std::size_t messageBytesMax = 104857600;
    /// If set, every call in either direction uses TLS and a call without TLS is not possible. If
    /// not set, every call uses plain TCP.
    std::optional<NmsTls> tls;
};

/// A session factory and where it was found.
struct FoundFactory {
    emsSessionFactory::EmsSessionFactory_I_var reference;
    std::string path;     ///< its stringified name; empty if it was given by its reference
    std::string address;  ///< "host:port" from its reference; empty if the reference has no address
};

/// One NMS: an ORB that accepts calls from the EMS, and the sessions that this NMS logs in to. The
/// process has only one ORB, so only one client can exist at a time. A client may have any number
/// of sessions; destroy them before the client. The operations may be called from any thread.
class NmsClient {
  public:
    /// Start the ORB. Throws CannotListen, or Unreachable when the naming text contains no address.
    explicit NmsClient(const NmsSettings& settings);
    ~NmsClient();
    NmsClient(const NmsClient&) = delete;
    NmsClient& operator=(const NmsClient&) = delete;

    /// The ORB and its root POA. Both references are borrowed.
    CORBA::ORB_ptr orb() const;
    PortableServer::POA_ptr rootPoa() const;

    /// Return if the naming service answers. Throws Unreachable otherwise.
    void requireNaming();
    /// Return the paths of all session factories in the naming service. Throws Unreachable when the
    /// service does not answer, or when no factory was found and a context could not be listed.
    std::vector<std::string> factoryPaths();
    /// Return the factory under a stringified name. Without a name, return the only factory below
    /// the root; it may be bound under several names. Throws NotRegistered when there is no
    /// factory, or nothing is bound under the name. Throws Unreachable when the name leads to
    /// something that is not a factory, or when there are several factories; the text lists them.
    FoundFactory findFactory(const std::string& path = "");
    /// Return the reference (IOR) bound under a stringified name. Calls only the naming service.
    /// Throws NotRegistered or Unreachable.
    std::string referenceAt(const std::string& path);
    /// Return the factory that a stringified reference (IOR or corbaloc) points to. Makes no call.
    FoundFactory factoryByReference(const std::string& text);

    /// Return the factory's interface version (mtnmVersion::Version_I). Throws Unreachable.
    std::string interfaceVersion(const FoundFactory& factory);

    /// Log in. The listener may be null. Throws LoginRefused or Unreachable.
    std::unique_ptr<NmsSession> logIn(const FoundFactory& factory, const std::string& user,
                                      const std::string& password,
                                      std::shared_ptr<NmsListener> listener = nullptr);

  private:
    std::string onlyFactoryPath();
    /// Whether all names lead to the same reference, octet by octet.
    bool leadToOne(const std::vector<std::string>& paths);

    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::nms
