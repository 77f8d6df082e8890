#include "database/read_pool.h"

#include <kelp/util/trace_log.h>

#include <exception>
#include <utility>

namespace kelp::inventory {

std::unique_ptr<Connection> ReadPool::takeOut() {
    {
        const util::MutexLock lock(mutex_);
        if (!idle_.empty()) {
            std::unique_ptr<Connection> connection = std::move(idle_.back());
            idle_.pop_back();
            return connection;
        }
    }
    auto connection = std::make_unique<Connection>(file_, Connection::Use::Read);
    // in another file the same ids belong to other rows
    if (util::identityOf(file_) != identity_)
        throw noLongerThere(file_);
    return connection;
}

void ReadPool::giveBack(std::unique_ptr<Connection> connection) {
    const util::MutexLock lock(mutex_);
    if (idle_.size() < kKept)
        idle_.push_back(std::move(connection));
}

ReadPool::Lease::Lease(ReadPool& pool) : pool_(pool), connection_(pool.takeOut()) {
    connection_->prepared("BEGIN").execute();
}

ReadPool::Lease::~Lease() {
    try {
        connection_->prepared("ROLLBACK").execute();
        pool_.giveBack(std::move(connection_));
    } catch (const std::exception& failure) {
        // the connection is closed instead of returned, which also ends its transaction
        util::traceFrom("inventory",
                        std::string("a reader cannot be used again: ") + failure.what());
    }
}

}  // namespace kelp::inventory
