#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/changelog/log_failure.h>
#include <kelp/util/descriptor.h>

#include <filesystem>
#include <memory>
#include <string>

namespace kelp::changelog {

/// Hold the log for this process. Released when the descriptor is closed. Throws LogFailure.
util::Descriptor holdLog(const std::filesystem::path& file);

/// Open the file, which exists. Throws SQLite::Exception.
std::unique_ptr<SQLite::Database> connect(const std::filesystem::path& file,
                                          const std::string& vfs);

/// Create the file if it is missing, and the tables if it is empty. Returns a connection for
/// writing. Throws LogFailure or SQLite::Exception.
std::unique_ptr<SQLite::Database> openForWriting(const std::filesystem::path& file,
                                                 const std::string& vfs);

/// SQLite's failure as one sentence that names the file.
LogFailure failureOf(const std::filesystem::path& file, const SQLite::Exception& failure);

/// Run `body` and throw SQLite's failures as LogFailure.
template <class Body>
auto translated(const std::filesystem::path& file, Body&& body) {
    try {
        return body();
    } catch (const SQLite::Exception& failure) {
        throw failureOf(file, failure);
    }
}

}  // namespace kelp::changelog
