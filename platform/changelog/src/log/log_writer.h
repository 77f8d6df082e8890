#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/changelog/sqlite_log.h>

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kelp::changelog {

/// The connection that changes the log. One thread at a time may use it. Throws LogFailure;
/// a change that failed is undone.
class LogWriter {
  public:
    explicit LogWriter(const SqliteLogSettings& settings);

    /// The position of the newest record ever.
    Position last() const { return last_; }

    std::vector<Appended> append(std::span<const NewRecord> records);
    /// The position of the record with this key.
    std::optional<Position> find(const std::string& key);
    /// Remove at most `recordsMax` of the records below `position`. Returns whether there are more.
    bool removeBelow(Position position, std::size_t recordsMax);
    Position mark(const std::string& name);
    void setMark(const std::string& name, Position position);

    /// True after the storage device has failed while a change was written. What the WAL file then
    /// has on the device is unknown, so that a later record behind it could be lost.
    bool needsNewWal() const { return needsNewWal_; }
    /// Copy the WAL file's content to the database, and begin a new one. Needs a moment in which
    /// nobody reads.
    void beginNewWal();

  private:
    template <class Body>
    void inTransaction(bool isSynced, Body&& body);
    void setSynchronous(bool isSynced);
    std::optional<Position> positionOf(const std::string& key);
    void insert(Position position, const NewRecord& record);
    void writeSpan(Position first, Position last);

    const SqliteLogSettings settings_;
    const std::unique_ptr<SQLite::Database> database_;
    SQLite::Statement findKey_;
    SQLite::Statement insert_;
    SQLite::Statement updateSpan_;
    SQLite::Statement remove_;
    SQLite::Statement findMark_;
    SQLite::Statement updateMark_;
    Position first_ = 0;
    Position last_ = 0;
    bool isSynced_ = false;  ///< the present value of the pragma
    bool needsNewWal_ = false;
};

}  // namespace kelp::changelog
