#pragma once

#include <kelp/orb/corba.h>
#include <mtnm/emsSession.h>

#include <atomic>
#include <memory>

#include "session/wake_point.h"

namespace NS_KELPCORBA {

class SessionSource;

/// The session object of one logged-in NMS (TMF 814 emsSession::EmsSession_I). It is made as
/// RefCount_OneParameter with one reference, which the session list takes over. The POA holds
/// another. Owns its source. Any ORB thread may call any operation.
class EmsSession_IImpl : public virtual POA_emsSession::EmsSession_I {
  public:
    /// Take over the source, which may be null.
    explicit EmsSession_IImpl(SessionSource* source);

    session::Session_I_ptr associatedSession() override;
    void ping() override;
    void endSession() override;
    void getSupportedManagers(
        emsSession::EmsSession_I::managerNames_T_out supportedManagerList) override;
    void getManager(const char* managerName, common::Common_I_out managerInterface) override;
    void getEventChannel(CosNotifyChannelAdmin::EventChannel_out eventChannel) override;
    /// Return the "session" POA of the source; nil when the session has none any more.
    PortableServer::POA_ptr _default_POA() override;

    /// Activate the object in its POA under an id that nobody can guess, and return its reference,
    /// which the caller owns. Later calls only return the reference. Called by one thread at a
    /// time. Throws what the POA throws, or OBJ_ADAPTER without a POA.
    emsSession::EmsSession_I_ptr activate();

    SessionSource* source() const { return source_.get(); }
    WakePoint& wakePoint() { return wakePoint_; }
    /// Id of the thread that waits for a sign of life; 0 when there is none.
    void setWaitingThread(std::uint32_t id) { waitingThread_ = id; }
    std::uint32_t waitingThread() const { return waitingThread_; }

  protected:
    ~EmsSession_IImpl() override;

  private:
    void signalIfWaitedForSilently();

    const std::unique_ptr<SessionSource> source_;
    WakePoint wakePoint_;
    std::atomic<std::uint32_t> waitingThread_{0};
    bool isActivated_ = false;
};

/// The tear-down of a session that is over.
class TASessionSource {
  public:
    /// Destroy the session's POA tree, and log the user out if that has not been done yet. Does
    /// nothing for a session without a POA tree. Throws nothing.
    static void check_valid(SessionSource* source);
};

}  // namespace NS_KELPCORBA
