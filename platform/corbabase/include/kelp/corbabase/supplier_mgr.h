#pragma once

#include <kelp/notification/consumer_counts.h>
#include <kelp/util/export.h>

#include <cos/CosNotification.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace NS_CORBA {

/// How the supplier manager calls the agent back. The order of the virtual operations is the contract with
/// the agent.
class KELP_EXPORT CallBackProcessBase {
  public:
    virtual ~CallBackProcessBase();
    /// Every consumer that answers has caught up, at `endTime`.
    virtual void OnEventLossCleared(const std::string& endTime) = 0;
    /// Events were lost; the first one's time and notification id.
    virtual void OnEventLossOccurred(const std::string& startTime, const std::string& notificationId) = 0;
    /// Appends an alarm's fields to `out` by SuppilerMgr::FormatLog.
    virtual void FormatAlarmLog(std::stringstream& out, const CosNotification::StructuredEvent& event) = 0;
    /// Asks for one heartbeat event.
    virtual void SendHeartbeat() = 0;
};

/// The way to the notification channel: takes events in without waiting for any NMS, hands them to the
/// channel by a thread of its own, sends heartbeats, and tells the agent of lost events. One loss at a time:
/// it begins with the first lost event and ends when every consumer that answers has drained below half of
/// its queue and check_channel_valid() has been called twice since. Any thread may call it.
class KELP_EXPORT SuppilerMgr {
  public:
    static SuppilerMgr* Instance();
    static void Destroy();

    /// The agent's callback object; borrowed, null takes it out again.
    void SetCallBack(CallBackProcessBase* callBack);
    CallBackProcessBase* GetCallBack() const;
    /// Makes the embedded channel, which EventMgr then hands out, and starts delivery; the argument is the
    /// delivery mode, 0 being the configured one. 0 on success; -1 otherwise, traced.
    int Start(int mode);
    /// Takes the channel away: what waits is dropped, blocked pulls end with Disconnected. Calls to consumers
    /// that are in progress are waited for.
    void ExitThread();
    /// Once a ping round: looks whether a loss is over. Never calls a consumer; dead ones are removed as they
    /// are found.
    void check_channel_valid();

    /// Takes an event in. 0, or -1 when there is no channel. More events than may wait are lost, the oldest
    /// first.
    int PushEvent(CosNotification::StructuredEvent& event);
    /// The same for a batch, which stays together and in order.
    long PushEvents(std::vector<CosNotification::StructuredEvent>& events);
    /// Asks the agent for a heartbeat now, besides those of `[notification] heartbeat_s`.
    void RequestHeartbeat();
    /// What became of the events, consumer by consumer; empty without a channel.
    std::vector<kelp::notification::ConsumerCounts> Consumers() const;

    /// One entry of a log: the line "name=value", both with line ends, control characters and backslashes
    /// escaped.
    static void FormatLog(const std::string& name, const std::string& value, std::ostream& out);
    static void FormatLog(const std::string& name, int value, std::ostream& out);

    SuppilerMgr(const SuppilerMgr&) = delete;
    SuppilerMgr& operator=(const SuppilerMgr&) = delete;

  private:
    SuppilerMgr();
    ~SuppilerMgr();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_CORBA
