#include <algorithm>
#include <set>
#include <thread>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using namespace std::chrono_literals;

class ChangeLogFollow : public ChangeLogTest {};

TEST_F(ChangeLogFollow, WaitEndsWithTheRecord) {
    const auto log = open();
    const Position last = log->last();
    std::thread appender([&] { appendOne(*log, "a"); });
    EXPECT_TRUE(log->waitFor(last, 10s));
    appender.join();
    EXPECT_EQ(contentsOf(*log, last).size(), 1U);
}

TEST_F(ChangeLogFollow, WaitEndsWithThePatience) {
    const auto log = open();
    EXPECT_FALSE(log->waitFor(log->last(), 1ms));
}

TEST_F(ChangeLogFollow, WaitForAnOldRecordEndsAtOnce) {
    const auto log = open();
    const Position position = appendOne(*log, "a").position;
    EXPECT_TRUE(log->waitFor(position - 1, 0ms));
}

/// Append `count` records with one to three per call, each with its name and number as content.
void appendMany(ChangeLog& log, const std::string& name, int count) {
    for (int next = 0; next < count;) {
        std::vector<NewRecord> records;
        for (int i = 0; i <= next % 3 && next < count; ++i, ++next)
            records.push_back({"", name + std::to_string(next)});
        log.append(records);
    }
}

TEST_F(ChangeLogFollow, SeesAllRecordsOfTwoAppendersOnceAndInOrder) {
    constexpr int kEach = 300;
    const auto log = changelog::openSqliteLog({.file = file(), .syncEveryCommit = false});
    Position after = log->last();
    std::thread left([&] { appendMany(*log, "left", kEach); });
    std::thread right([&] { appendMany(*log, "right", kEach); });
    std::vector<std::string> lefts;
    std::vector<std::string> rights;
    while (lefts.size() + rights.size() < 2U * kEach && log->waitFor(after, 10s))
        for (const Record& record : log->read(after, 50, kNoLimit)) {
            EXPECT_EQ(record.position, ++after);
            (record.content.front() == 'l' ? lefts : rights).push_back(record.content);
        }
    left.join();
    right.join();
    std::vector<std::string> expected;
    for (int i = 0; i < kEach; ++i)
        expected.push_back("left" + std::to_string(i));
    EXPECT_EQ(lefts, expected);
    std::transform(expected.begin(), expected.end(), expected.begin(),
                   [](const std::string& text) { return "right" + text.substr(4); });
    EXPECT_EQ(rights, expected);
}

TEST_F(ChangeLogFollow, AppendsGoOnWhileTheLogIsTruncated) {
    const auto log = changelog::openSqliteLog({.file = file(), .syncEveryCommit = false});
    const Position first = log->append(std::vector<NewRecord>(10000)).front().position;
    std::thread truncation([&] { log->truncateBelow(first + 10000); });
    appendMany(*log, "more", 200);
    truncation.join();
    EXPECT_EQ(contentsOf(*log).size(), 200U);
}

}  // namespace
}  // namespace kelp::test
