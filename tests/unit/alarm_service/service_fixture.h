#pragma once

#include <gtest/gtest.h>
#include <kelp/alarms/alarm_service.h>
#include <kelp/changelog/sqlite_log.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "support/latch.h"
#include "support/temporary_directory.h"
#include "support/wait_until.h"

namespace kelp::test {

/// An alarm of the element with this number.
alarms::Alarm alarmOf(int element, alarms::Severity severity = alarms::Severity::Major);
alarms::Report raise(int element, alarms::Severity severity = alarms::Severity::Major);
alarms::Report clear(int element);

/// Remembers the events that it gets. Any thread may call it.
class RecordingSink final : public alarms::EventSink {
  public:
    bool send(std::span<const alarms::Event> events) override;

    /// While it is not open it accepts nothing.
    void open(bool isOpen) { isOpen_ = isOpen; }
    std::vector<alarms::Position> positions() const;
    std::size_t count() const { return positions().size(); }
    /// How often it was called, also in vain.
    int calls() const { return calls_; }

  private:
    mutable util::Mutex mutex_{util::LockRank::Leaf, "RecordingSink::mutex_"};
    std::vector<alarms::Position> positions_ KELP_GUARDED_BY(mutex_);
    std::atomic<bool> isOpen_{true};
    std::atomic<int> calls_{0};
};

/// The faults of a log's disk.
struct LogFaults {
    std::atomic<bool> appendFails{false};
    /// Called before each append.
    std::function<void()> beforeAppend = [] {};
};

/// Alarm services one after the other on the log of one folder.
class AlarmServiceTest : public testing::Test {
  protected:
    AlarmServiceTest();

    /// Make a service and start it, with `sink_`.
    void start();
    /// End it as the host does.
    void end();
    alarms::AlarmService& service() { return *service_; }
    /// The log of the service. Borrowed; its operations may be called while the service runs.
    changelog::ChangeLog& log() { return *log_; }

    /// The severities of the active alarms by element.
    std::map<std::string, alarms::Severity> active() const;
    alarms::Result submitOne(alarms::Submission change, const std::string& key = {});

    TemporaryDirectory folder_;
    alarms::ServiceSettings settings_;
    LogFaults faults_;
    RecordingSink sink_;
    Latch latch_;  ///< for a test whose log waits

  private:
    changelog::ChangeLog* log_ = nullptr;
    std::unique_ptr<alarms::AlarmService> service_;
};

}  // namespace kelp::test
