#pragma once

#include <kelp/inventory/inventory.h>
#include <kelp/util/file_identity.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <cstdint>
#include <filesystem>

#include "database/connection.h"
#include "database/read_pool.h"

namespace kelp::inventory {

struct Inventory::State {
    /// Open the file and make the encoded forms that are missing. Defined in inventory.cpp.
    explicit State(const std::filesystem::path& path);

    /// Run `body` with a lease of a reading connection.
    template <class Body>
    auto reading(Body&& body) {
        return translated(file, [&] {
            ReadPool::Lease lease(readers);
            return body(lease);
        });
    }

    /// Run `body` with the writing connection. Callers take turns. Defined in changes.cpp.
    template <class Body>
    auto changing(Body&& body) KELP_EXCLUDES(writing);

    /// Count rows whose encoded form could not be used. Defined in encoded_lists.cpp.
    void noteUnfit(std::uint64_t count) KELP_EXCLUDES(writing);

    /// Called before the connections are opened. If the file is replaced in between, the inventory
    /// is not current from the start.
    static util::FileIdentity identityOfMade(const std::filesystem::path& path) {
        makeMissing(path);
        return util::identityOf(path);
    }

    const std::filesystem::path file;
    const util::FileIdentity identity;
    ReadPool readers;
    util::Mutex writing{util::LockRank::Service, "Inventory::writing"};
    Connection writer KELP_GUARDED_BY(writing);
    std::atomic<std::uint64_t> unfit{0};
};

}  // namespace kelp::inventory
