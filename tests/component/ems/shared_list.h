#pragma once

#include <kelp/alarms/alarm_service.h>
#include <kelp/changelog/sqlite_log.h>

#include <memory>

#include "alarm_texts.h"
#include "support/temporary_directory.h"

namespace kelp::test {

/// A list of alarms that the process shares. Its events go to nobody.
class SharedList {
  public:
    SharedList() {
        alarms::ServiceSettings settings;
        settings.savedLists = folder_ / "lists";
        changelog::SqliteLogSettings log;
        log.file = folder_ / "changes.db";
        log.syncEveryCommit = false;
        service = std::make_shared<alarms::AlarmService>(settings, changelog::openSqliteLog(log));
        service->setSink(&sink_);
        service->start();
        alarms::shareService(service);
    }
    ~SharedList() {
        alarms::shareService(nullptr);
        service->stop();
    }
    SharedList(const SharedList&) = delete;
    SharedList& operator=(const SharedList&) = delete;

  private:
    struct NoSink final : alarms::EventSink {
        bool send(std::span<const alarms::Event>) override { return true; }
    };

    const TemporaryDirectory folder_;
    NoSink sink_;

  public:
    std::shared_ptr<alarms::AlarmService> service;
};

}  // namespace kelp::test
