#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/lazy_instance.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/corbabase/time_text.h>
#include <kelp/corbabase/trace.h>
#include <kelp/notification/channel.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <span>
#include <utility>

#include "events/alarm_log_entry.h"
#include "events/embedded_link.h"
#include "events/event_acceptance.h"
#include "events/external_link.h"
#include "events/loss_tracker.h"
#include "events/notification_address.h"
#include "orb/orb_life.h"

namespace NS_CORBA {

CallBackProcessBase::~CallBackProcessBase() = default;

namespace {

using CosNotifyChannelAdmin::EventChannel;
using CosNotifyChannelAdmin::EventChannel_ptr;
using CosNotifyChannelAdmin::EventChannel_var;
using kelp::util::LockRank;
using kelp::util::MutexLock;
using NS_BUNDLEMGR1::ConfigStore;

constinit LazyInstance<SuppilerMgr> theSupplierMgr;
constexpr int kConfiguredMode = 0;
constexpr const char* kEmbedded = "embedded";
/// Maximum number of alarms that wait for the alarm log's disk. A working disk never falls that far
/// behind.
constexpr std::size_t kAlarmLogWaitingMax = 100000;
/// A fraction of the shortest grace period that a logged-out NMS's consumers have.
constexpr std::chrono::milliseconds kTendInterval{250};

void point(int line = __builtin_LINE()) {
    tracePoint("suppilermgr", line);
}

/// Report an event loss and trace a failure. The threads of the channel and the sessions that
/// report losses continue in any case.
template <class Body>
void contained(Body body) {
    try {
        body();
    } catch (const CORBA::Exception& failure) {
        point();
        TaException(failure, "[SuppilerMgr] An event loss could not be reported!");
    } catch (const std::exception& failure) {
        point();
        TaTrace("[SuppilerMgr] An event loss could not be reported: %s", failure.what());
    }
}

EventHandover::Settings handoverSettings() {
    const ConfigStore& config = ConfigStore::instance();
    EventHandover::Settings settings;
    settings.eventsMax = static_cast<std::size_t>(config.integer("notification.queue_events_max"));
    settings.heartbeatInterval = std::chrono::seconds(config.integer("notification.heartbeat_s"));
    if (config.text("notification.mode") == kEmbedded)
        settings.tendInterval = kTendInterval;
    return settings;
}

/// Open the alarm log. Null when it is switched off or, traced, when it cannot be opened.
std::unique_ptr<AlarmLogWriter> openAlarmLog(AlarmLogWriter::Format format) {
    if (!ConfigStore::instance().flag("notification.alarm_log"))
        return nullptr;
    const std::filesystem::path file = NS_BUNDLEMGR1::defaultStateDirectory() / "alarms.log";
    try {
        return std::make_unique<AlarmLogWriter>(file, std::move(format), kAlarmLogWaitingMax);
    } catch (const std::exception& failure) {
        point();
        TaTrace("[SuppilerMgr::Start] The alarm log %s cannot be opened: %s", file.c_str(),
                failure.what());
        return nullptr;
    }
}

void publishChannel(EventChannel_ptr channel) {
    EventMgr::Instance()->SetEventChannel(channel);
}

/// Create the link to the configured channel. NMS get the embedded channel at once, an external one
/// as soon as it is found.
std::shared_ptr<EventChannelLink> makeLink(CORBA::ORB_ptr orb,
                                           kelp::notification::LossListener& losses) {
    const ConfigStore& config = ConfigStore::instance();
    if (config.text("notification.mode") == kEmbedded) {
        const auto made = std::make_shared<EmbeddedLink>(orb, losses);
        const EventChannel_var reference = made->reference();
        publishChannel(reference.in());
        return made;
    }
    ExternalLink::Surroundings around;
    around.orb = CORBA::ORB::_duplicate(orb);
    around.timeout = std::chrono::seconds(config.integer("notification.push_timeout_s"));
    around.address = notificationServiceAddress;
    around.found = publishChannel;
    return std::make_shared<ExternalLink>(std::move(around));
}

}  // namespace

struct SuppilerMgr::State final : kelp::notification::LossListener {
    std::atomic<CallBackProcessBase*> callBack{nullptr};
    LossTracker losses{{[this](const LossTracker::Start& start) { lossBegan(start); },
                        [this](std::time_t endTime) { lossEnded(endTime); }}};
    mutable kelp::util::Mutex mutex{LockRank::Leaf, "SuppilerMgr::State::mutex"};
    std::shared_ptr<EventAcceptance> acceptance KELP_GUARDED_BY(mutex);

    void eventsLost(const kelp::orb::EventView& first) override {
        contained([&] { losses.lost(first); });
    }
    void lossBegan(const LossTracker::Start& start) {
        contained([&] {
            point();
            TaTrace("[SuppilerMgr] Events are lost from notification <%s> of <%s> on!",
                    start.notificationId.c_str(), start.time.c_str());
            if (CallBackProcessBase* agent = callBack)
                agent->OnEventLossOccurred(start.time, start.notificationId);
        });
    }
    void lossEnded(std::time_t time) {
        contained([&] {
            const std::string endTime = ConfiguredTimeText(time);
            point();
            TaTrace("[SuppilerMgr] No more events are lost since <%s>!", endTime.c_str());
            if (CallBackProcessBase* agent = callBack)
                agent->OnEventLossCleared(endTime);
        });
    }
    std::shared_ptr<EventAcceptance> current() const KELP_EXCLUDES(mutex) {
        const MutexLock guard(mutex);
        return acceptance;
    }
    void open(CORBA::ORB_ptr orb) KELP_EXCLUDES(mutex);
};

SuppilerMgr::SuppilerMgr() : state_(std::make_unique<State>()) {}
SuppilerMgr::~SuppilerMgr() {
    ExitThread();
}

SuppilerMgr* SuppilerMgr::Instance() {
    return theSupplierMgr.get([] { return new SuppilerMgr; });
}

void SuppilerMgr::Destroy() {
    theSupplierMgr.destroy([](SuppilerMgr* instance) { delete instance; });
}

void SuppilerMgr::SetCallBack(CallBackProcessBase* callBack) {
    state_->callBack = callBack;
}

CallBackProcessBase* SuppilerMgr::GetCallBack() const {
    return state_->callBack;
}

void SuppilerMgr::State::open(CORBA::ORB_ptr orb) {
    EventHandover::Work work;
    work.lost = [this](const kelp::orb::EventView& first) { eventsLost(first); };
    work.heartbeat = [this] {
        if (CallBackProcessBase* agent = callBack)
            agent->SendHeartbeat();
    };
    const auto inWords = [this](std::stringstream& out,
                                const CosNotification::StructuredEvent& alarm) {
        if (CallBackProcessBase* agent = callBack)
            agent->FormatAlarmLog(out, alarm);
    };
    auto made = std::make_shared<EventAcceptance>(
        handoverSettings(), makeLink(orb, *this), work, openAlarmLog(inWords),
        ConfigStore::instance().flag("notification.fill_ne_time"));
    const MutexLock guard(mutex);
    acceptance.swap(made);
}

int SuppilerMgr::Start(int mode) {
    if (mode != kConfiguredMode) {
        point();
        TaTrace("[SuppilerMgr::Start] Unknown delivery mode %d!", mode);
        return -1;
    }
    const CORBA::ORB_var orb = OrbLife::instance().orb();
    if (CORBA::is_nil(orb.in())) {
        point();
        TaTrace("[SuppilerMgr::Start] There is no ORB!");
        return -1;
    }
    if (state_->current())
        return 0;
    try {
        state_->open(orb.in());
        return 0;
    } catch (const CORBA::Exception& failure) {
        point();
        TaException(failure, "[SuppilerMgr::Start] The event channel could not be made!");
    } catch (const std::exception& failure) {
        point();
        TaTrace("[SuppilerMgr::Start] The event channel could not be made: %s", failure.what());
    }
    publishChannel(EventChannel::_nil());
    return -1;
}

void SuppilerMgr::ExitThread() {
    std::shared_ptr<EventAcceptance> ending;
    {
        const MutexLock guard(state_->mutex);
        ending.swap(state_->acceptance);
    }
    if (!ending)
        return;
    publishChannel(EventChannel::_nil());
    ending->stop();
    // an external channel may have been found meanwhile
    publishChannel(EventChannel::_nil());
}

bool SuppilerMgr::check_channel_valid() {
    const std::shared_ptr<EventAcceptance> running = state_->current();
    if (!running)
        return false;
    const bool answers = running->channelAnswers();
    running->requestProbe();
    contained([&] { state_->losses.roundBegins(running->isDrained()); });
    return answers;
}

int SuppilerMgr::PushEvent(CosNotification::StructuredEvent& event) {
    const std::shared_ptr<EventAcceptance> running = state_->current();
    return running && running->accept(std::span(&event, 1)) ? 0 : -1;
}

long SuppilerMgr::PushEvents(std::vector<CosNotification::StructuredEvent>& events) {
    const std::shared_ptr<EventAcceptance> running = state_->current();
    return running && running->accept(std::span(events)) ? 0 : -1;
}

long SuppilerMgr::PushEvents(std::vector<CosNotification::StructuredEvent>&& events) {
    const std::shared_ptr<EventAcceptance> running = state_->current();
    return running && running->accept(std::move(events)) ? 0 : -1;
}

void SuppilerMgr::RequestHeartbeat() {
    if (const std::shared_ptr<EventAcceptance> running = state_->current())
        running->requestHeartbeat();
}

std::vector<kelp::notification::ConsumerCounts> SuppilerMgr::Consumers() const {
    const std::shared_ptr<EventAcceptance> running = state_->current();
    return running ? running->consumers() : std::vector<kelp::notification::ConsumerCounts>();
}

kelp::notification::ConsumerSubscription SuppilerMgr::SubscriptionOf(std::int32_t admin,
                                                                     std::int32_t proxy) const {
    const std::shared_ptr<EventAcceptance> running = state_->current();
    return running ? running->link().subscriptionOf(admin, proxy)
                   : kelp::notification::ConsumerSubscription();
}

kelp::notification::EndedCounts SuppilerMgr::EndedConsumersOf(
    const std::string& sessionName) const {
    const std::shared_ptr<EventAcceptance> running = state_->current();
    return running ? running->link().endedConsumersOf(sessionName)
                   : kelp::notification::EndedCounts();
}

void SuppilerMgr::FormatLog(const std::string& name, const std::string& value, std::ostream& out) {
    out << escapedEntryText(name) << '=' << escapedEntryText(value) << '\n';
}

void SuppilerMgr::FormatLog(const std::string& name, int value, std::ostream& out) {
    FormatLog(name, std::to_string(value), out);
}

}  // namespace NS_CORBA
