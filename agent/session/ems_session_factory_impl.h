#pragma once

#include <ace/RW_Thread_Mutex.h>
#include <kelp/orb/corba.h>
#include <mtnm/emsSessionFactory.h>

#include <string>

#include "session/login_pace.h"

namespace NS_KELPCORBA {

class EmsSession_IImpl;
template <class S>
class ServantRef;

/// The one object that an NMS resolves to log in (TMF 814 emsSessionFactory::EmsSessionFactory_I).
/// Log-ins are serialised by the login lock, the outermost lock of the sessions.
class EmsSessionFactory_IImpl : public virtual POA_emsSessionFactory::EmsSessionFactory_I {
  public:
    /// The process's factory servant, made on first use; borrowed.
    static EmsSessionFactory_IImpl* Instance();
    /// Drops the process's reference; one that was never made: nothing.
    static void Destroy();

    char* getVersion() override;
    void getEmsSession(const char* user, const char* password, nmsSession::NmsSession_I_ptr client,
                       emsSession::EmsSession_I_out emsSessionInterface) override;

  protected:
    ~EmsSessionFactory_IImpl() override = default;

  private:
    EmsSessionFactory_IImpl() = default;

    struct LogIn;
    /// Refuses a log-in without a right password, or whose account does not allow it, before any
    /// session is touched. The password is hashed once for a log-in.
    void RequireAdmission(LogIn& logIn);
    bool ReuseSession(LogIn& logIn);
    /// Refuses one session too many of the account or from the address, before any other session is
    /// touched.
    void RequireRoom(LogIn& logIn);
    void EndReplacedSession(const LogIn& logIn);
    /// A session servant with its source and one reference; logs the user out again when there is
    /// no memory.
    static EmsSession_IImpl* NewSession(const LogIn& logIn);
    /// A new session, listed, and its reference as the log-in's result. Whatever fails leaves
    /// nothing behind.
    void MakeSession(LogIn& logIn);
    /// Makes the session's POA tree and lists it; the list takes over `forList`.
    static void ListSession(const LogIn& logIn, ServantRef<EmsSession_IImpl>& session,
                            ServantRef<EmsSession_IImpl>& forList);
    /// Under release by silence without pings: starts the thread that waits for calls of the NMS,
    /// or ends the session.
    static void AwaitCalls(const LogIn& logIn, const ServantRef<EmsSession_IImpl>& session);
    void KeepSessionLimit();

    ACE_RW_Mutex loginLock_;
    LogInPace pace_;
};

}  // namespace NS_KELPCORBA
