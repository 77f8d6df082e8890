#pragma once

#include <kelp/util/export.h>

#include <cos/CosNotification.h>

#include <memory>
#include <sstream>
#include <string>

namespace NS_CORBA {

/// How the supplier manager calls the agent back. The order of the virtual operations is the contract with
/// the agent.
class KELP_EXPORT CallBackProcessBase {
  public:
    virtual ~CallBackProcessBase();
    virtual void OnEventLossCleared(const std::string& endTime) = 0;
    virtual void OnEventLossOccurred(const std::string& startTime, const std::string& notificationId) = 0;
    /// Called once events are delivered, which needs a channel; an agent that does not answer yet leaves it
    /// as it is.
    virtual void FormatAlarmLog(std::stringstream& out, const CosNotification::StructuredEvent& event);
    virtual void SendHeartbeat();
};

/// The way to the notification channel. Without a channel (there is none yet) it takes no events and has no
/// consumers to check.
class KELP_EXPORT SuppilerMgr {
  public:
    static SuppilerMgr* Instance();
    static void Destroy();

    /// The agent's callback object; borrowed, null takes it out again.
    void SetCallBack(CallBackProcessBase* callBack);
    CallBackProcessBase* GetCallBack() const;
    /// Starts delivery; the argument is the delivery mode, 0 being the configured one. 0 on success.
    int Start(int mode);
    void ExitThread();
    /// Drops consumers that are gone. Called once a ping round; never calls a dead consumer.
    void check_channel_valid();

    SuppilerMgr(const SuppilerMgr&) = delete;
    SuppilerMgr& operator=(const SuppilerMgr&) = delete;

  private:
    SuppilerMgr();
    ~SuppilerMgr();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_CORBA
