#pragma once

#include <kelp/orb/corba.h>
#include <mtnm/emsSessionFactory.h>

#include <string>

#include "session/log_in_pace.h"
#include "util/write_lock.h"

namespace NS_KELPCORBA {

class EmsSession_IImpl;
template <class S>
class ServantRef;

/// The object that an NMS resolves to log in (TMF 814 emsSessionFactory::EmsSessionFactory_I).
/// There is one per process. The login lock serialises log-ins. It is the outermost lock of the
/// sessions.
class EmsSessionFactory_IImpl : public virtual POA_emsSessionFactory::EmsSessionFactory_I {
  public:
    /// Return the process's factory servant, borrowed. The first call makes it.
    static EmsSessionFactory_IImpl* Instance();
    /// Drop the process's reference, if the servant was made.
    static void Destroy();

    char* getVersion() override;
    void getEmsSession(const char* user, const char* password, nmsSession::NmsSession_I_ptr client,
                       emsSession::EmsSession_I_out emsSessionInterface) override;

  protected:
    ~EmsSessionFactory_IImpl() override = default;

  private:
    EmsSessionFactory_IImpl() = default;

    struct LogIn;
    /// Refuse a log-in with a wrong password, or whose account does not allow it, before any
    /// session is touched. Hashes the password once per log-in.
    void RequireAdmission(LogIn& logIn) KELP_REQUIRES(loginLock_);
    /// Refuse a log-in while the operator drains the host. Only for a right password.
    void RequireOpenGate(const LogIn& logIn) KELP_REQUIRES(loginLock_);
    bool ReuseSession(LogIn& logIn) KELP_REQUIRES(loginLock_);
    /// Refuse a log-in that exceeds the session quota of its account or address, before any other
    /// session is touched.
    void RequireRoom(LogIn& logIn) KELP_REQUIRES(loginLock_);
    void EndReplacedSession(const LogIn& logIn) KELP_REQUIRES(loginLock_);
    /// Make a session servant with its source and one reference. When there is no memory log the
    /// user out again and throw.
    static EmsSession_IImpl* NewSession(const LogIn& logIn);
    /// Make and list a new session, and store its reference as the log-in's result. A failure
    /// leaves nothing behind.
    void MakeSession(LogIn& logIn) KELP_REQUIRES(loginLock_);
    /// Make the session's POA tree and list the session. The list takes over `forList`.
    static void ListSession(const LogIn& logIn, ServantRef<EmsSession_IImpl>& session,
                            ServantRef<EmsSession_IImpl>& forList);
    /// Under release strategy 2 without pings start the thread that waits for calls of the NMS.
    /// When that fails end the session and throw.
    static void AwaitCalls(const LogIn& logIn, const ServantRef<EmsSession_IImpl>& session);
    void KeepSessionLimit() KELP_REQUIRES(loginLock_);

    WriteMutex loginLock_{kelp::util::LockRank::LogIn, "EmsSessionFactory_IImpl::loginLock_"};
    LogInPace pace_;
};

}  // namespace NS_KELPCORBA
