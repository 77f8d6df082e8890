#pragma once

#include <kelp/inventory/inventory.h>

#include <filesystem>
#include <mutex>

#include "connection.h"
#include "read_pool.h"

namespace kelp::inventory {

struct Inventory::State {
    explicit State(const std::filesystem::path& path)
        : file(path), readers(path), writer(openForWriting(path)) {}

    /// Runs `body` with a lease of a reading connection.
    template <class Body>
    auto reading(Body&& body) {
        return translated(file, [&] {
            ReadPool::Lease lease(readers);
            return body(lease);
        });
    }

    const std::filesystem::path file;
    ReadPool readers;
    std::mutex writing;
    Connection writer;  ///< guarded by `writing`
};

}  // namespace kelp::inventory
