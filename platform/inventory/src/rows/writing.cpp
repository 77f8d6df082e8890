#include "rows/writing.h"

#include <sqlite3.h>

#include "database/schema.h"
#include "rows/row_removal.h"
#include "rows/row_writer.h"

namespace kelp::inventory {

namespace {

/// In KiB: 64 MiB, so that the index pages that a large import uses again and again stay in memory.
constexpr int kCacheKib = 64 * 1024;

}  // namespace

BulkWriting::BulkWriting(Connection& connection, const std::filesystem::path& file, Clear clear)
    : connection_(connection), isUnchecked_(clear != Clear::Nothing) {
    SQLite::Database& database = connection.database();
    database.exec("PRAGMA cache_size = -" + std::to_string(kCacheKib));
    // emptying a large table would take minutes if each row were checked
    if (isUnchecked_)
        database.exec("PRAGMA foreign_keys = OFF");
    transaction_ =
        std::make_unique<SQLite::Transaction>(database, SQLite::TransactionBehavior::IMMEDIATE);
    bringUpToDate(database, file);
    outbox_.emplace(connection);
    if (clear == Clear::Everything) {
        if (outbox_->isRecording())
            recordDeletions(connection, *outbox_);
        RowWriter(connection).removeAll();
    }
    outbox_->expectCreations();
}

void BulkWriting::commit() {
    SQLite::Database& database = connection_.database();
    outbox_->finish();
    if (isUnchecked_ && SQLite::Statement(database, "PRAGMA foreign_key_check").executeStep())
        throw InventoryFailure("a row of the inventory would refer to one that does not exist");
    transaction_->commit();
    // without a checkpoint the write-ahead log would stay as long as the import made it; if a
    // reader prevents the checkpoint for 200 ms, a later one does it
    constexpr int kCheckpointPatienceMs = 200;
    database.setBusyTimeout(kCheckpointPatienceMs);
    sqlite3_wal_checkpoint_v2(database.getHandle(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr,
                              nullptr);
}

}  // namespace kelp::inventory
