#include "database/writing.h"

#include <sqlite3.h>

#include "database/schema.h"
#include "rows/row_writer.h"

namespace kelp::inventory {

namespace {

/// Index pages that a large import touches again and again stay in memory. In KiB.
constexpr int kCacheKib = 64 * 1024;

}  // namespace

BulkWriting::BulkWriting(Connection& connection, const std::filesystem::path& file, Clear clear)
    : connection_(connection), isUnchecked_(clear == Clear::Everything) {
    SQLite::Database& database = connection.database();
    database.exec("PRAGMA cache_size = -" + std::to_string(kCacheKib));
    // checked at each row, a large table would take minutes to empty
    if (isUnchecked_)
        database.exec("PRAGMA foreign_keys = OFF");
    transaction_ =
        std::make_unique<SQLite::Transaction>(database, SQLite::TransactionBehavior::IMMEDIATE);
    bringUpToDate(database, file);
    if (isUnchecked_)
        RowWriter(connection).removeAll();
}

void BulkWriting::commit() {
    SQLite::Database& database = connection_.database();
    if (isUnchecked_ && SQLite::Statement(database, "PRAGMA foreign_key_check").executeStep())
        throw InventoryFailure("a row of the inventory would refer to one that is not there");
    transaction_->commit();
    // a log as long as the import would stay; a reader that is in the way keeps it until another
    // time
    constexpr int kCheckpointPatienceMs = 200;
    database.setBusyTimeout(kCheckpointPatienceMs);
    sqlite3_wal_checkpoint_v2(database.getHandle(), nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr,
                              nullptr);
}

}  // namespace kelp::inventory
