#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/changelog/sqlite_log.h>

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "support/temporary_directory.h"

namespace kelp::test {

using changelog::Appended;
using changelog::ChangeLog;
using changelog::LogFailure;
using changelog::NewRecord;
using changelog::Position;
using changelog::Record;

inline constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

/// The contents of all records above `after`.
inline std::vector<std::string> contentsOf(ChangeLog& log, Position after = 0) {
    std::vector<std::string> contents;
    for (const Record& record : log.read(after, kNoLimit, kNoLimit))
        contents.push_back(record.content);
    return contents;
}

inline Appended appendOne(ChangeLog& log, const std::string& content, const std::string& key = "") {
    const NewRecord record{key, content};
    return log.append({&record, 1}).front();
}

/// A folder for a log.
class ChangeLogTest : public testing::Test {
  protected:
    std::filesystem::path file() const { return folder_ / "changes.db"; }
    std::unique_ptr<ChangeLog> open() const { return changelog::openSqliteLog({.file = file()}); }

    const TemporaryDirectory folder_;
};

}  // namespace kelp::test
