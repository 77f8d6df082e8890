#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <memory>
#include <optional>

#include "database/connection.h"
#include "rows/outbox.h"

namespace kelp::inventory {

/// One transaction that writes many rows. Holds the write lock from construction to destruction,
/// and rolls back unless it is committed. Creates or migrates the tables within the transaction if
/// necessary. With Clear::Everything it empties the inventory first; with Clear::ByCaller the
/// caller may delete rows. Records what is created and cleared in the outbox.
class BulkWriting {
  public:
    enum class Clear { Nothing, Everything, ByCaller };

    /// Throws SQLite::Exception, also when another process writes for longer than the connection
    /// waits, and InventoryFailure for a file that is not an inventory. `file` is for messages.
    BulkWriting(Connection& connection, const std::filesystem::path& file, Clear clear);

    /// Check the references between rows, unless each row was checked when it was written, and
    /// commit.
    void commit();

    /// Where the caller records what it changes and deletes.
    Outbox& outbox() { return *outbox_; }

  private:
    Connection& connection_;
    const bool isUnchecked_;
    std::unique_ptr<SQLite::Transaction> transaction_;
    std::optional<Outbox> outbox_;
};

}  // namespace kelp::inventory
