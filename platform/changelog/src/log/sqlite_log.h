#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/changelog/sqlite_log.h>
#include <kelp/util/descriptor.h>
#include <kelp/util/mutex.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "log/log_reader.h"
#include "log/log_writer.h"

namespace kelp::changelog {

/// A log in an SQLite file: one connection that writes, one that reads, and what threads that
/// follow the log wait for.
class SqliteLog final : public ChangeLog {
  public:
    explicit SqliteLog(const SqliteLogSettings& settings);

    std::vector<Appended> append(std::span<const NewRecord> records) override;
    std::optional<Position> find(const std::string& key) override;
    std::vector<Record> read(Position after, std::size_t recordsMax, std::size_t bytesMax) override;
    bool waitFor(Position after, std::chrono::milliseconds patience) override;
    Position first() override;
    Position last() override;
    void truncateBelow(Position position) override;
    Position mark(const std::string& name) override;
    void setMark(const std::string& name, Position position) override;

  private:
    // closed last: the connections must not outlive the hold on the log
    const util::Descriptor hold_;

    // Serialises changes of the file. While it is held, one of the mutexes below may be locked.
    util::Mutex writing_{util::LockRank::ServiceControl, "ChangeLog writing"};
    LogWriter writer_ KELP_GUARDED_BY(writing_);

    util::Mutex reading_{util::LockRank::Service, "ChangeLog reading"};
    LogReader reader_ KELP_GUARDED_BY(reading_);

    util::Mutex following_{util::LockRank::Service, "ChangeLog following"};
    util::ConditionVariable grown_;
    Position last_ KELP_GUARDED_BY(following_);
};

}  // namespace kelp::changelog
