#pragma once

#include <cos/CosNotification.h>
#include <kelp/notification/consumer_counts.h>
#include <kelp/util/export.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace NS_CORBA {

/// How the supplier manager calls the agent back. The order of the virtual operations is the
/// contract with the agent.
class KELP_EXPORT CallBackProcessBase {
  public:
    virtual ~CallBackProcessBase();
    /// Every consumer that answers has caught up, at `endTime`.
    virtual void OnEventLossCleared(const std::string& endTime) = 0;
    /// Events were lost; the first one's time and notification id.
    virtual void OnEventLossOccurred(const std::string& startTime,
                                     const std::string& notificationId) = 0;
    /// Appends an alarm's fields to `out` by SuppilerMgr::FormatLog.
    virtual void FormatAlarmLog(std::stringstream& out,
                                const CosNotification::StructuredEvent& event) = 0;
    /// Asks for one heartbeat event.
    virtual void SendHeartbeat() = 0;
};

/// The way to the notification channel, the embedded one or that of an external notification
/// service: takes events in without waiting for any NMS or service, hands them to the channel by a
/// thread of its own, sends heartbeats, and tells the agent of lost events. One loss at a time: it
/// begins with the first lost event and ends when the channel answers, its queue and that of every
/// consumer that answers has drained below half, and check_channel_valid() has been called twice
/// since. Any thread may call it.
///
/// The external service is the object NotificationService at `[notification]` host and port
/// (ssl_port with TLS): an event channel, or a factory, whose eldest channel is taken. While it
/// does not answer, events wait, at most `queue_events_max`, and it is tried again after 1 s, 2 s
/// and so on up to 30 s. What was sent without an answer is sent again once a call that carries no
/// event was answered: at least once, in order.
class KELP_EXPORT SuppilerMgr {
  public:
    static SuppilerMgr* Instance();
    static void Destroy();

    /// The agent's callback object; borrowed, null takes it out again.
    void SetCallBack(CallBackProcessBase* callBack);
    CallBackProcessBase* GetCallBack() const;
    /// Makes the embedded channel, which EventMgr then hands out, or begins to look for the
    /// external one, which it hands out once found. The argument is the delivery mode, 0 being the
    /// configured one. 0 on success; -1 otherwise, traced.
    int Start(int mode);
    /// Takes the channel away: what waits is dropped, blocked pulls end with Disconnected. Calls to
    /// consumers or an external service that are in progress are waited for: `push_timeout_s` at
    /// most.
    void ExitThread();
    /// Once a ping round: looks whether a loss is over. Never calls a consumer or a service itself:
    /// dead consumers are removed as they are found, and an external service that is idle is asked
    /// before the next round. True when there is a channel and the last call to it was answered.
    bool check_channel_valid();

    /// Takes an event in. 0, or -1 when it was not: before Start and once the stop has begun. More
    /// events than may wait are lost, the oldest first.
    int PushEvent(CosNotification::StructuredEvent& event);
    /// The same for a batch, which stays together and in order.
    long PushEvents(std::vector<CosNotification::StructuredEvent>& events);
    /// Asks the agent for a heartbeat now, besides those of `[notification] heartbeat_s`.
    void RequestHeartbeat();
    /// What became of the events, consumer by consumer; empty without a channel of our own.
    std::vector<kelp::notification::ConsumerCounts> Consumers() const;

    /// One entry of a log: the line "name=value", both with line ends, control characters and
    /// backslashes escaped.
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
