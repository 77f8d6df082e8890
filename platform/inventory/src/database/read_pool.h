#pragma once

#include <kelp/util/file_identity.h>
#include <kelp/util/mutex.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "database/connection.h"

namespace kelp::inventory {

/// The connections of the readers. Each reader gets a connection for itself, and up to 16 idle ones
/// are kept. Any thread may use it.
class ReadPool {
  public:
    /// Maximum number of idle connections. Further readers are served too; their connections are
    /// closed after use.
    static constexpr std::size_t kKept = 16;

    ReadPool(std::filesystem::path file, util::FileIdentity identity)
        : file_(std::move(file)), identity_(identity) {}

    /// A connection in a read transaction: one unchanging view of the file. Returns the connection
    /// at the end of the scope.
    class Lease {
      public:
        /// Throws SQLite::Exception, and InventoryFailure if the file was replaced.
        explicit Lease(ReadPool& pool);
        ~Lease();
        Lease(const Lease&) = delete;
        Lease& operator=(const Lease&) = delete;

        Connection& connection() { return *connection_; }
        Prepared& prepared(const std::string& sql) { return connection_->prepared(sql); }

      private:
        ReadPool& pool_;
        std::unique_ptr<Connection> connection_;
    };

  private:
    std::unique_ptr<Connection> takeOut() KELP_EXCLUDES(mutex_);
    void giveBack(std::unique_ptr<Connection> connection) KELP_EXCLUDES(mutex_);

    const std::filesystem::path file_;
    const util::FileIdentity identity_;
    util::Mutex mutex_{util::LockRank::Service, "ReadPool::mutex_"};
    std::vector<std::unique_ptr<Connection>> idle_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::inventory
