#include "service_fixture.h"

#include <utility>

namespace kelp::test {

namespace {

/// A log on a disk that can fail.
class FaultyLog final : public changelog::ChangeLog {
  public:
    FaultyLog(std::unique_ptr<ChangeLog> log, LogFaults& faults)
        : log_(std::move(log)), faults_(faults) {}

    std::vector<changelog::Appended> append(
        std::span<const changelog::NewRecord> records) override {
        faults_.beforeAppend();
        if (faults_.appendFails)
            throw changelog::LogFailure("the disk is full", changelog::LogFailure::Reason::Full);
        return log_->append(records);
    }
    std::optional<changelog::Position> find(const std::string& key) override {
        return log_->find(key);
    }
    std::vector<changelog::Record> read(changelog::Position after, std::size_t recordsMax,
                                        std::size_t bytesMax) override {
        return log_->read(after, recordsMax, bytesMax);
    }
    bool waitFor(changelog::Position after, std::chrono::milliseconds patience) override {
        return log_->waitFor(after, patience);
    }
    changelog::Position first() override { return log_->first(); }
    changelog::Position last() override { return log_->last(); }
    void truncateBelow(changelog::Position position) override { log_->truncateBelow(position); }
    changelog::Position mark(const std::string& name) override { return log_->mark(name); }
    void setMark(const std::string& name, changelog::Position position) override {
        log_->setMark(name, position);
    }

  private:
    const std::unique_ptr<ChangeLog> log_;
    LogFaults& faults_;
};

}  // namespace

alarms::Alarm alarmOf(int element, alarms::Severity severity) {
    alarms::Alarm alarm;
    alarm.objectName = {{"EMS", "Kelp/EMS"}, {"ManagedElement", std::to_string(element)}};
    alarm.objectType = alarms::ObjectType::ManagedElement;
    alarm.nativeEMSName = std::to_string(element);
    alarm.probableCause = "EQPT";
    alarm.perceivedSeverity = severity;
    return alarm;
}

alarms::Report raise(int element, alarms::Severity severity) {
    return {alarmOf(element, severity)};
}

alarms::Report clear(int element) {
    return {alarmOf(element, alarms::Severity::Cleared)};
}

bool RecordingSink::send(std::span<const alarms::Event> events) {
    ++calls_;
    if (!isOpen_)
        return false;
    const util::MutexLock lock(mutex_);
    for (const alarms::Event& each : events)
        positions_.push_back(each.position);
    return true;
}

std::vector<alarms::Position> RecordingSink::positions() const {
    const util::MutexLock lock(mutex_);
    return positions_;
}

AlarmServiceTest::AlarmServiceTest() {
    settings_.savedLists = folder_ / "lists";
    settings_.patience = std::chrono::seconds(10);
}

void AlarmServiceTest::start() {
    changelog::SqliteLogSettings settings;
    settings.file = folder_ / "changes.db";
    settings.syncEveryCommit = false;  // no test here cuts the power
    auto log = std::make_unique<FaultyLog>(changelog::openSqliteLog(settings), faults_);
    log_ = log.get();
    service_ = std::make_unique<alarms::AlarmService>(settings_, std::move(log));
    service_->setSink(&sink_);
    service_->start();
}

void AlarmServiceTest::end() {
    service_.reset();
}

std::map<std::string, alarms::Severity> AlarmServiceTest::active() const {
    std::map<std::string, alarms::Severity> found;
    for (const alarms::Entry& each : service_->state()->read())
        found[each->alarm.nativeEMSName] = each->alarm.perceivedSeverity;
    return found;
}

alarms::Result AlarmServiceTest::submitOne(alarms::Submission change, const std::string& key) {
    std::vector<alarms::Submission> changes;
    changes.push_back(std::move(change));
    return service_->submit(std::move(changes), key).at(0);
}

}  // namespace kelp::test
