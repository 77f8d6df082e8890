#include "singleton.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/corbabase/time_text.h>
#include <kelp/corbabase/trace.h>
#include <kelp/notification/channel.h>

#include <atomic>
#include <cstring>
#include <mutex>

#include "alarm_log.h"
#include "event_handover.h"
#include "log_entry.h"
#include "loss_tracker.h"
#include "orb_life.h"

namespace NS_CORBA {

namespace {

using kelp::notification::Channel;
using kelp::notification::ChannelSettings;
using NS_BUNDLEMGR1::ConfigStore;

std::atomic<SuppilerMgr*> theInstance{nullptr};
constexpr int kConfiguredMode = 0;
constexpr const char* kEmbedded = "embedded";
constexpr const char* kAlarmType = "NT_ALARM";

void point(int line = __builtin_LINE()) {
    GetTss()->Set("suppilermgr", "unknown", line);
}

std::size_t size(const char* key) {
    return static_cast<std::size_t>(ConfigStore::instance().integer(key));
}

ChannelSettings channelSettings() {
    ChannelSettings settings;
    settings.queueEventsMax = size("notification.queue_events_max");
    settings.deliveryThreadsMax = size("notification.delivery_threads_max");
    settings.delivery.pushTimeout = std::chrono::seconds(size("notification.push_timeout_s"));
    settings.delivery.deadAfter = std::chrono::seconds(size("notification.dead_consumer_after_s"));
    return settings;
}

bool isAlarm(const CosNotification::StructuredEvent& event) {
    return std::strcmp(event.header.fixed_header.event_type.type_name.in(), kAlarmType) == 0;
}

std::unique_ptr<AlarmLog> openAlarmLog() {
    if (!ConfigStore::instance().flag("notification.alarm_log"))
        return nullptr;
    const std::filesystem::path file = NS_BUNDLEMGR1::defaultStateDirectory() / "alarms.log";
    try {
        return std::make_unique<AlarmLog>(file);
    } catch (const std::exception& failure) {
        point();
        TaTrace("[SuppilerMgr::Start] The alarm log %s cannot be opened: %s", file.c_str(), failure.what());
        return nullptr;
    }
}

}  // namespace

struct SuppilerMgr::State final : kelp::notification::LossListener {
    std::atomic<CallBackProcessBase*> callBack{nullptr};
    LossTracker losses;
    mutable std::mutex mutex;  // guards the three below
    std::shared_ptr<Channel> channel;
    std::unique_ptr<AlarmLog> alarmLog;  // used by the handover's thread once that runs
    std::shared_ptr<EventHandover> handover;

    void eventsLost(const CosNotification::StructuredEvent& first) override {
        const auto start = losses.lost(first);
        if (!start)
            return;
        point();
        TaTrace("[SuppilerMgr] Events are lost from notification <%s> of <%s> on!",
                start->notificationId.c_str(), start->time.c_str());
        if (CallBackProcessBase* agent = callBack)
            agent->OnEventLossOccurred(start->time, start->notificationId);
    }
    std::shared_ptr<Channel> currentChannel() const {
        const std::lock_guard guard(mutex);
        return channel;
    }
    std::shared_ptr<EventHandover> currentHandover() const {
        const std::lock_guard guard(mutex);
        return handover;
    }
    void writeAlarm(const CosNotification::StructuredEvent& event) {
        CallBackProcessBase* agent = callBack;
        if (!alarmLog || agent == nullptr || !isAlarm(event))
            return;
        std::stringstream entries;
        agent->FormatAlarmLog(entries, event);
        alarmLog->write(entries.str());
    }
    bool open(CORBA::ORB_ptr orb);
};

SuppilerMgr::SuppilerMgr() : state_(std::make_unique<State>()) {}
SuppilerMgr::~SuppilerMgr() {
    ExitThread();
}

SuppilerMgr* SuppilerMgr::Instance() {
    return lazyInstance(theInstance, [] { return new SuppilerMgr; });
}

void SuppilerMgr::Destroy() {
    dropInstance(theInstance, [](SuppilerMgr* instance) { delete instance; });
}

void SuppilerMgr::SetCallBack(CallBackProcessBase* callBack) {
    state_->callBack = callBack;
}

CallBackProcessBase* SuppilerMgr::GetCallBack() const {
    return state_->callBack;
}

bool SuppilerMgr::State::open(CORBA::ORB_ptr orb) {
    const auto made = std::make_shared<Channel>(orb, channelSettings(), this);
    const CosNotifyChannelAdmin::EventChannel_var reference = made->reference();
    EventHandover::Work work;
    work.deliver = [this, made](const CosNotification::StructuredEvent& event) {
        made->push(event);
        writeAlarm(event);
    };
    work.lost = [this](const CosNotification::StructuredEvent& event) { eventsLost(event); };
    work.heartbeat = [this] {
        if (CallBackProcessBase* agent = callBack)
            agent->SendHeartbeat();
    };
    const std::lock_guard guard(mutex);
    channel = made;
    alarmLog = openAlarmLog();
    handover = std::make_shared<EventHandover>(size("notification.queue_events_max"),
                                               std::chrono::seconds(size("notification.heartbeat_s")), work);
    EventMgr::Instance()->SetEventChannel(reference.in());
    return true;
}

int SuppilerMgr::Start(int mode) {
    if (mode != kConfiguredMode) {
        point();
        TaTrace("[SuppilerMgr::Start] Unknown delivery mode %d!", mode);
        return -1;
    }
    if (ConfigStore::instance().text("notification.mode") != kEmbedded) {
        point();
        TaTrace("[SuppilerMgr::Start] This version has no other notification service than the embedded one!");
        return -1;
    }
    const CORBA::ORB_var orb = OrbLife::instance().orb();
    if (CORBA::is_nil(orb.in())) {
        point();
        TaTrace("[SuppilerMgr::Start] There is no ORB!");
        return -1;
    }
    if (state_->currentChannel())
        return 0;
    try {
        return state_->open(orb.in()) ? 0 : -1;
    } catch (const CORBA::Exception& failure) {
        point();
        TaException(failure, "[SuppilerMgr::Start] The event channel could not be made!");
    } catch (const std::exception& failure) {
        point();
        TaTrace("[SuppilerMgr::Start] The event channel could not be made: %s", failure.what());
    }
    return -1;
}

void SuppilerMgr::ExitThread() {
    std::shared_ptr<Channel> channel;
    std::shared_ptr<EventHandover> handover;
    {
        const std::lock_guard guard(state_->mutex);
        channel.swap(state_->channel);
        handover.swap(state_->handover);
    }
    if (!channel)
        return;
    EventMgr::Instance()->SetEventChannel(CosNotifyChannelAdmin::EventChannel::_nil());
    handover->stop();
    channel->stop();
}

void SuppilerMgr::check_channel_valid() {
    const std::shared_ptr<Channel> channel = state_->currentChannel();
    if (!channel || !state_->losses.roundBegins(channel->isDrained()))
        return;
    const std::string endTime = ConfiguredTimeText(std::time(nullptr));
    point();
    TaTrace("[SuppilerMgr] No more events are lost since <%s>!", endTime.c_str());
    if (CallBackProcessBase* agent = state_->callBack)
        agent->OnEventLossCleared(endTime);
}

int SuppilerMgr::PushEvent(CosNotification::StructuredEvent& event) {
    const std::shared_ptr<EventHandover> handover = state_->currentHandover();
    if (!handover)
        return -1;
    handover->take(&event, 1);
    return 0;
}

long SuppilerMgr::PushEvents(std::vector<CosNotification::StructuredEvent>& events) {
    const std::shared_ptr<EventHandover> handover = state_->currentHandover();
    if (!handover)
        return -1;
    handover->take(events.data(), events.size());
    return 0;
}

void SuppilerMgr::RequestHeartbeat() {
    if (const std::shared_ptr<EventHandover> handover = state_->currentHandover())
        handover->requestHeartbeat();
}

std::vector<kelp::notification::ConsumerCounts> SuppilerMgr::Consumers() const {
    const std::shared_ptr<Channel> channel = state_->currentChannel();
    return channel ? channel->consumers() : std::vector<kelp::notification::ConsumerCounts>();
}

void SuppilerMgr::FormatLog(const std::string& name, const std::string& value, std::ostream& out) {
    out << escapedEntryText(name) << '=' << escapedEntryText(value) << '\n';
}

void SuppilerMgr::FormatLog(const std::string& name, int value, std::ostream& out) {
    FormatLog(name, std::to_string(value), out);
}

}  // namespace NS_CORBA
