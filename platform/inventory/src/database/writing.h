#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <filesystem>
#include <memory>

#include "database/connection.h"

namespace kelp::inventory {

/// One transaction that writes much: takes the write lock for its whole life, and undoes everything
/// unless it is committed. Tables of an earlier version, or none, are brought up to date within it;
/// with Clear::Everything the inventory is emptied first.
class BulkWriting {
  public:
    enum class Clear { Nothing, Everything };

    /// Throws SQLite::Exception, also when somebody else is writing for longer than the connection
    /// waits, and InventoryFailure for a file that is no inventory. `file` is for messages.
    BulkWriting(Connection& connection, const std::filesystem::path& file, Clear clear);

    /// Checks what rows refer to, when it was not checked at each, and commits.
    void commit();

  private:
    Connection& connection_;
    const bool isUnchecked_;
    std::unique_ptr<SQLite::Transaction> transaction_;
};

}  // namespace kelp::inventory
