#pragma once

#include <kelp/nms/error.h>
#include <kelp/nms/listener.h>
#include <kelp/nms/session.h>
#include <kelp/orb/corba.h>
#include <mtnm/emsSessionFactory.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelp::nms {

/// What an NMS speaks TLS with; the files are PEM.
struct NmsTls {
    std::string authorities;  ///< certificates of the authorities that sign the EMS's certificate
    std::string keyFile;      ///< this NMS's own private key and certificate
    std::string keyPassword;  ///< empty for a key without one
    /// Whether a server's certificate must be for the host that is called, or for `serverName`.
    bool checkServer = true;
    std::string serverName =
        {};  ///< name or address that every server must show; empty: the host called
};

/// How an NMS is set up.
struct NmsSettings {
    /// The naming service: corbaloc or IOR text.
    std::string naming = "corbaloc:iiop:127.0.0.1:4801/NameService";
    /// Where the EMS's calls to this NMS arrive, "host:port", port 0 for any. Empty: the address of
    /// this host that leads to the naming service, any port.
    std::string listen;
    /// Limit of every call, connecting included.
    std::chrono::milliseconds timeout = std::chrono::seconds(30);
    /// Every call in either direction over TLS, and none without; none: every call over TCP.
    std::optional<NmsTls> tls;
};

/// A session factory, and where it was found.
struct FoundFactory {
    emsSessionFactory::EmsSessionFactory_I_var reference;
    std::string path;     ///< its stringified name; empty for one given by its reference
    std::string address;  ///< "host:port" out of its reference; empty when that says none
};

/// One NMS: an ORB that can be called back, and the log-ins it makes. As the ORB is the process's,
/// only one client can exist at a time; it may hold any number of sessions, which must be gone
/// before it. The operations may be called from any thread.
class NmsClient {
  public:
    /// Starts the ORB. Throws CannotListen, or Unreachable when the naming text leads nowhere.
    explicit NmsClient(const NmsSettings& settings);
    ~NmsClient();
    NmsClient(const NmsClient&) = delete;
    NmsClient& operator=(const NmsClient&) = delete;

    /// The ORB, its root POA; borrowed.
    CORBA::ORB_ptr orb() const;
    PortableServer::POA_ptr rootPoa() const;

    /// Paths of all session factories in the naming service. Throws Unreachable when the service
    /// does not answer.
    std::vector<std::string> factoryPaths();
    /// The factory under a stringified name, or, without one, the only factory below the root,
    /// under however many names. Throws NotRegistered when there is none, or nothing under the
    /// name, Unreachable when the name leads to something else or (naming them) there are several.
    FoundFactory findFactory(const std::string& path = "");
    /// The factory that a stringified reference (IOR or corbaloc) points to; nothing is called.
    FoundFactory factoryByReference(const std::string& text);

    /// The factory's interface version (mtnmVersion::Version_I). Throws Unreachable.
    std::string interfaceVersion(const FoundFactory& factory);

    /// Logs in. The listener may be null. Throws LoginRefused or Unreachable.
    std::unique_ptr<NmsSession> logIn(const FoundFactory& factory, const std::string& user,
                                      const std::string& password,
                                      std::shared_ptr<NmsListener> listener = nullptr);

  private:
    std::string onlyFactoryPath();
    /// True when the names lead to the same reference, octet by octet.
    bool leadToOne(const std::vector<std::string>& paths);

    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::nms
