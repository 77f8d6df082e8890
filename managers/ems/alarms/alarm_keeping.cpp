#include "alarms/alarm_keeping.h"

#include <kelp/admin/parts.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/changelog/sqlite_log.h>
#include <kelp/inventory/inventory.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "alarms/alarm_metrics.h"
#include "alarms/alarm_parts.h"
#include "alarms/intake_conditions.h"

namespace kelp::ems {

namespace {

using NS_BUNDLEMGR1::ConfigStore;

/// While more alarms are waiting for the disk or the channel, changes of the network wait for them.
/// The channel takes this number in some milliseconds.
constexpr std::size_t kWaitingMax = 20;

std::filesystem::path configuredLog() {
    const std::string configured = ConfigStore::instance().text("alarms.log");
    return configured.empty() ? NS_BUNDLEMGR1::defaultStateDirectory() / "changes.db"
                              : std::filesystem::path(configured);
}

std::size_t number(const char* key) {
    return static_cast<std::size_t>(ConfigStore::instance().integer(key));
}

std::chrono::seconds seconds(const char* key) {
    return std::chrono::seconds(ConfigStore::instance().integer(key));
}

alarms::ServiceSettings settingsFor(const std::filesystem::path& log) {
    alarms::ServiceSettings settings;
    settings.list.flapRaises = number("alarms.flap_raises");
    settings.list.flapWindow = seconds("alarms.flap_window_s");
    settings.list.flapQuiet = seconds("alarms.flap_quiet_s");
    settings.list.historyMax = number("alarms.history_max");
    settings.list.historyAge = std::chrono::hours(24 * number("alarms.history_days"));
    settings.activeMax = number("alarms.active_max");
    settings.backlogMax = number("alarms.intake_backlog");
    settings.patience = std::chrono::milliseconds(number("alarms.intake_wait_ms"));
    settings.savedLists = log.parent_path() / (log.stem().string() + "-lists");
    return settings;
}

/// `service` outlives the follower.
std::unique_ptr<NetworkFollower> followerFor(alarms::AlarmService& service) {
    NetworkFollower::Settings settings;
    settings.inventory = inventory::configuredInventory();
    settings.eventsPerSecond = number("alarms.network_event_rate");
    NetworkFollower::Intake intake;
    intake.submit = [&service](std::vector<alarms::Submission> changes, const std::string& key) {
        service.submit(std::move(changes), key);
    };
    intake.isBusy = [&service] {
        const alarms::ServiceCounts counts = service.counts();
        return counts.backlog + counts.unsent > kWaitingMax;
    };
    return std::make_unique<NetworkFollower>(std::move(settings), std::move(intake));
}

}  // namespace

void AlarmKeeping::start() {
    changelog::SqliteLogSettings log;
    log.file = configuredLog();
    log.syncEveryCommit = ConfigStore::instance().text("alarms.durability") == "full";
    service_ = std::make_shared<alarms::AlarmService>(settingsFor(log.file),
                                                      changelog::openSqliteLog(log));
    service_->setSink(&sink_);
    service_->start();
    alarms::shareService(service_);
    follower_ = followerFor(*service_);
    follower_->start();
    conditions_ = admin::Conditions::instance().enter("intake", [this] {
        return intakeConditions(service_->counts(), std::chrono::system_clock::now());
    });
    metrics_ = admin::Metrics::instance().enter(
        "alarms", [this] { return alarmMetrics(service_->counts(), *service_->state()); });
    admin::Parts& parts = admin::Parts::instance();
    alarmsPart_ = parts.enter("alarms", [this] { return alarmsPart(*service_->state()); });
    intakePart_ = parts.enter("intake", [this] { return intakePart(service_->counts()); });
}

void AlarmKeeping::stop() {
    conditions_.leave();
    metrics_.leave();
    alarmsPart_.leave();
    intakePart_.leave();
    follower_.reset();
    if (!service_)
        return;
    alarms::shareService(nullptr);
    service_->stop();
    // another bundle may hold the service a little longer, but not the sink, which is this bundle's
    service_->setSink(nullptr);
    service_.reset();
}

}  // namespace kelp::ems
