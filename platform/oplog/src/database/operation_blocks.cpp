#include "database/operation_blocks.h"

#include "database/retention.h"
#include "records/block_codec.h"

namespace kelp::oplog {

namespace {

constexpr std::size_t kRecordsMax = 512;

std::int64_t number(UtcTime time) {
    return static_cast<std::int64_t>(time.time_since_epoch().count());
}

}  // namespace

/// Fills blocks, and inserts each block when it is full.
class OperationBlocks::Appending {
  public:
    Appending(SQLite::Statement& insert, std::int64_t lastId) : insert_(insert), lastId_(lastId) {}

    void add(const RecordView& record) {
        block_.add(record);
        if (block_.count() == kRecordsMax)
            insertBlock();
    }
    void addGap(const LogEntry& gap) {
        insertBlock();
        block_.add(viewOf(gap));
        insertRow(gap.missing, gap.time, gap.until);
    }
    /// Insert the last block. Returns the number of the last record.
    std::int64_t finish() {
        insertBlock();
        return lastId_;
    }

  private:
    void insertBlock() {
        if (block_.count() > 0)
            insertRow(0, block_.earliest(), block_.latest());
    }
    void insertRow(std::uint64_t missing, UtcTime from, UtcTime until) {
        lastId_ += static_cast<std::int64_t>(block_.count());
        insert_.tryReset();
        insert_.bind(1, lastId_);
        insert_.bind(2, static_cast<std::int64_t>(block_.count()));
        insert_.bind(3, static_cast<std::int64_t>(missing));
        insert_.bind(4, number(from));
        insert_.bind(5, number(until));
        insert_.bindNoCopy(6, block_.bytes().data(), static_cast<int>(block_.bytes().size()));
        insert_.exec();
        insert_.reset();
        block_.clear();
    }

    SQLite::Statement& insert_;
    std::int64_t lastId_;
    BlockEncoder block_;
};

OperationBlocks::OperationBlocks(SQLite::Database& database)
    : database_(database),
      insert_(database,
              "INSERT INTO block (id, records, missing, from_ms, until_ms, data) VALUES "
              "(?,?,?,?,?,?)") {}

void OperationBlocks::append(const LogBatch& batch) {
    Appending appending(insert_, readLastId());
    for (const PackedRecords& piece : batch.pieces)
        piece.forEach([&appending](const RecordView& record) { appending.add(record); });
    if (batch.gap)
        appending.addGap(*batch.gap);
    writeLastId(appending.finish());
}

void OperationBlocks::append(std::vector<LogEntry>& entries) {
    Appending appending(insert_, readLastId());
    for (const LogEntry& entry : entries) {
        if (entry.missing > 0)
            appending.addGap(entry);
        else
            appending.add(viewOf(entry));
    }
    writeLastId(appending.finish());
}

std::optional<bool> OperationBlocks::removeOldest(std::uint64_t bytesMax,
                                                  std::optional<UtcTime> oldest) {
    const std::optional<Removal> removal =
        oplog::removeOldest(database_, kBlocks, bytesMax, oldest);
    if (!removal)
        return std::nullopt;
    return removal->isMore;
}

/// The number of the last record, even if retention has removed its block.
std::int64_t OperationBlocks::readLastId() {
    return database_
        .execAndGet(
            "SELECT max((SELECT coalesce(max(id), 0) FROM block), (SELECT coalesce(max(id), 0) "
            "FROM last))")
        .getInt64();
}

void OperationBlocks::writeLastId(std::int64_t id) {
    SQLite::Statement write(
        database_,
        "INSERT INTO last (one, id) VALUES (1, ?1) ON CONFLICT (one) DO UPDATE SET id = ?1");
    write.bind(1, id);
    write.exec();
}

}  // namespace kelp::oplog
