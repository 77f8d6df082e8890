#pragma once

#include <cos/CosNotification.h>
#include <kelp/notification/consumer_counts.h>
#include <kelp/util/export.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace NS_CORBA {

/// The supplier manager's calls to the agent. The order of the virtual operations is the contract
/// with the agent.
class KELP_EXPORT CallBackProcessBase {
  public:
    virtual ~CallBackProcessBase();
    /// The loss of events ended at `endTime`: every consumer that answers has caught up.
    virtual void OnEventLossCleared(const std::string& endTime) = 0;
    /// Events were lost. The arguments are the time and the notification id of the first one.
    virtual void OnEventLossOccurred(const std::string& startTime,
                                     const std::string& notificationId) = 0;
    /// Append an alarm's fields to `out` with SuppilerMgr::FormatLog.
    virtual void FormatAlarmLog(std::stringstream& out,
                                const CosNotification::StructuredEvent& event) = 0;
    /// Send one heartbeat event.
    virtual void SendHeartbeat() = 0;
};

/// Passes events to the notification channel, which is embedded in this process or belongs to
/// an external notification service. Accepts events without waiting for any NMS or service, and
/// hands them to the channel on a separate thread. Asks the agent for heartbeats and reports lost
/// events to it. Any thread may call it.
///
/// Losses are reported one at a time. A loss begins with the first lost event. It ends when the
/// channel answers, its queue and that of every consumer that answers have drained below half, and
/// check_channel_valid() has been called twice since the last lost event.
///
/// The external service is the object NotificationService at `[notification]` host and port
/// (ssl_port with TLS). It is an event channel, or a channel factory, whose oldest channel is then
/// used. While the service does not answer, at most `queue_events_max` events wait, and the
/// connection is retried after 1 s, 2 s and so on up to 30 s. If a push gets no answer, the service
/// is first probed with a call that carries no event. Once it answers, the event is pushed again.
/// Delivery is thus at least once, in order.
class KELP_EXPORT SuppilerMgr {
  public:
    static SuppilerMgr* Instance();
    static void Destroy();

    /// Set the agent's callback object, which is borrowed. Null removes it.
    void SetCallBack(CallBackProcessBase* callBack);
    CallBackProcessBase* GetCallBack() const;
    /// Create the embedded channel, or begin to look for the external one. EventMgr then hands out
    /// the channel, an external one as soon as it is found. `mode` is the delivery mode; 0 is the
    /// configured one. Return 0, or -1 (traced) on failure.
    int Start(int mode);
    /// Remove the channel. Waiting events are dropped and blocked pulls end with Disconnected.
    /// Waits for calls to consumers or an external service that are in progress, `push_timeout_s`
    /// at most.
    void ExitThread();
    /// Check whether a loss is over; called once each ping round. Never calls a consumer or a
    /// service itself: dead consumers are removed as they are found, and an idle external service
    /// is probed before the next round. True when there is a channel and the last call to it was
    /// answered.
    bool check_channel_valid();

    /// Accept a copy of an event. Return 0, or -1 before Start and once the stop has begun. When
    /// more events wait than the limit allows, the oldest are lost.
    int PushEvent(CosNotification::StructuredEvent& event);
    /// The same for a batch, whose events stay together and in order.
    long PushEvents(std::vector<CosNotification::StructuredEvent>& events);
    /// The same without a copy: the events' content is moved out of the vector.
    long PushEvents(std::vector<CosNotification::StructuredEvent>&& events);
    /// Ask the agent for a heartbeat now, in addition to those sent every `[notification]
    /// heartbeat_s`.
    void RequestHeartbeat();
    /// Event counts of each consumer. Empty without an embedded channel.
    std::vector<kelp::notification::ConsumerCounts> Consumers() const;
    /// What this consumer gets. Empty for an unknown one, or without an embedded channel.
    kelp::notification::ConsumerSubscription SubscriptionOf(std::int32_t admin,
                                                            std::int32_t proxy) const;
    /// Sums over the ended consumers of the session with this name. All zero without an embedded
    /// channel.
    kelp::notification::EndedCounts EndedConsumersOf(const std::string& sessionName) const;

    /// Write one log entry: the line "name=value". Line ends, control characters and backslashes
    /// are escaped in both.
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
