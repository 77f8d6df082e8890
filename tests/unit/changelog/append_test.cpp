#include <sys/stat.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "log_fixture.h"

namespace kelp::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ChangeLogAppend : public ChangeLogTest {};

std::int64_t microsecondsNow() {
    return std::chrono::duration_cast<std::chrono::microseconds>(
               std::chrono::system_clock::now().time_since_epoch())
        .count();
}

TEST_F(ChangeLogAppend, FirstPositionIsTheTimeOfCreation) {
    const auto before = static_cast<Position>(microsecondsNow());
    const auto log = open();
    EXPECT_EQ(log->first(), log->last() + 1);
    const Position first = appendOne(*log, "a").position;
    EXPECT_GE(first, before);
    EXPECT_LE(first, static_cast<Position>(microsecondsNow()));
    EXPECT_EQ(log->first(), first);
    EXPECT_EQ(log->last(), first);
}

TEST_F(ChangeLogAppend, PositionsAreConsecutiveAlsoAfterReopening) {
    Position first = 0;
    {
        const auto log = open();
        const std::vector<NewRecord> records{{"", "a"}, {"", "b"}};
        const auto appended = log->append(records);
        first = appended[0].position;
        EXPECT_EQ(appended[1].position, first + 1);
    }
    const auto log = open();
    EXPECT_EQ(appendOne(*log, "c").position, first + 2);
    EXPECT_THAT(contentsOf(*log), ElementsAre("a", "b", "c"));
}

TEST_F(ChangeLogAppend, RecordKeepsEveryByte) {
    const auto log = open();
    const std::string content("\0\x01 '\xff\n", 6);
    appendOne(*log, content, std::string("k\0y", 3));
    appendOne(*log, "");
    EXPECT_THAT(contentsOf(*log), ElementsAre(content, ""));
    EXPECT_FALSE(appendOne(*log, "x", "k").isRepeat);
}

TEST_F(ChangeLogAppend, FindsARecordByItsKey) {
    const auto log = open();
    const Position first = appendOne(*log, "a", "key").position;
    appendOne(*log, "b", "other");
    EXPECT_EQ(log->find("key"), first);
    EXPECT_EQ(log->find("other"), first + 1);
    EXPECT_EQ(log->find("ke"), std::nullopt);
    EXPECT_EQ(log->find(""), std::nullopt);
    log->truncateBelow(first + 1);
    EXPECT_EQ(log->find("key"), std::nullopt);
}

TEST_F(ChangeLogAppend, KeyOfAnEarlierAppendIsARepeat) {
    const auto log = open();
    const Appended first = appendOne(*log, "a", "key");
    EXPECT_FALSE(first.isRepeat);
    EXPECT_EQ(appendOne(*log, "other", "key"), (Appended{first.position, true}));
    EXPECT_THAT(contentsOf(*log), ElementsAre("a"));
}

TEST_F(ChangeLogAppend, KeyWithinOneAppendIsARepeat) {
    const auto log = open();
    const std::vector<NewRecord> records{{"k", "a"}, {"", "b"}, {"k", "c"}};
    const auto appended = log->append(records);
    EXPECT_EQ(appended[2], (Appended{appended[0].position, true}));
    EXPECT_EQ(appended[1], (Appended{appended[0].position + 1, false}));
    EXPECT_THAT(contentsOf(*log), ElementsAre("a", "b"));
}

TEST_F(ChangeLogAppend, RepeatIsFoundAfterReopening) {
    const Position position = appendOne(*open(), "a", "key").position;
    EXPECT_EQ(appendOne(*open(), "a", "key"), (Appended{position, true}));
}

TEST_F(ChangeLogAppend, NothingIsAppendedBeyondTheLimits) {
    const auto log = open();
    const std::vector<NewRecord> longContent{
        {"", "a"}, {"", std::string(changelog::kContentBytesMax + 1, 'x')}};
    EXPECT_THROW(log->append(longContent), std::invalid_argument);
    const std::vector<NewRecord> longKey{{"", "a"},
                                         {std::string(changelog::kKeyBytesMax + 1, 'k'), "b"}};
    EXPECT_THROW(log->append(longKey), std::invalid_argument);
    const std::vector<NewRecord> tooMany(changelog::kRecordsPerAppendMax + 1);
    EXPECT_THROW(log->append(tooMany), std::invalid_argument);
    EXPECT_THAT(contentsOf(*log), IsEmpty());

    const std::vector<NewRecord> largest{
        {std::string(changelog::kKeyBytesMax, 'k'), std::string(changelog::kContentBytesMax, 'x')}};
    EXPECT_EQ(log->append(largest).size(), 1U);
    const std::vector<NewRecord> most(changelog::kRecordsPerAppendMax);
    EXPECT_EQ(log->append(most).size(), most.size());
}

TEST_F(ChangeLogAppend, NothingAppendedChangesNothing) {
    const auto log = open();
    const Position last = log->last();
    EXPECT_THAT(log->append({}), IsEmpty());
    EXPECT_EQ(log->last(), last);
}

TEST_F(ChangeLogAppend, ReadStopsAtTheLimits) {
    const auto log = open();
    const Position first = appendOne(*log, "aaaa").position;
    appendOne(*log, "bbbb");
    appendOne(*log, "cccc");
    EXPECT_THAT(log->read(0, 2, kNoLimit),
                ElementsAre(Record{first, "aaaa"}, Record{first + 1, "bbbb"}));
    EXPECT_THAT(log->read(first, kNoLimit, 7), ElementsAre(Record{first + 1, "bbbb"}));
    EXPECT_THAT(log->read(first, kNoLimit, 1), ElementsAre(Record{first + 1, "bbbb"}));
    EXPECT_THAT(log->read(first, kNoLimit, 8).size(), 2U);
    EXPECT_THAT(log->read(first + 2, kNoLimit, kNoLimit), IsEmpty());
    EXPECT_THAT(log->read(std::numeric_limits<Position>::max(), 1, 1), IsEmpty());
}

TEST_F(ChangeLogAppend, FilesAreTheOwnersOnly) {
    const auto log = open();
    appendOne(*log, "a");
    for (const char* const part : {"", "-wal", "-lock"}) {
        struct stat status {};
        ASSERT_EQ(::stat((file().string() + part).c_str(), &status), 0) << part;
        EXPECT_EQ(status.st_mode & 0777, 0600U) << part;
    }
}

TEST_F(ChangeLogAppend, SecondOpenerIsRefused) {
    const auto log = open();
    try {
        open();
        FAIL() << "opened twice";
    } catch (const LogFailure& failure) {
        EXPECT_TRUE(failure.isHeld());
        EXPECT_THAT(failure.what(), testing::HasSubstr(file().string()));
    }
    appendOne(*log, "still usable");
}

TEST_F(ChangeLogAppend, MarkIsKeptAndNeverAboveTheLastRecord) {
    Position position = 0;
    {
        const auto log = open();
        EXPECT_EQ(log->mark("sent"), 0U);
        position = appendOne(*log, "a").position;
        log->setMark("sent", position);
        log->setMark("other", position - 1);
        EXPECT_THROW(log->setMark("sent", position + 1), std::invalid_argument);
        EXPECT_THROW(log->setMark("", position), std::invalid_argument);
        EXPECT_THROW(log->mark(std::string(changelog::kKeyBytesMax + 1, 'm')),
                     std::invalid_argument);
    }
    const auto log = open();
    EXPECT_EQ(log->mark("sent"), position);
    EXPECT_EQ(log->mark("other"), position - 1);
}

TEST_F(ChangeLogAppend, WorksWithoutASyncPerCommit) {
    const auto log = changelog::openSqliteLog({.file = file(), .syncEveryCommit = false});
    appendOne(*log, "a");
    EXPECT_THAT(contentsOf(*log), ElementsAre("a"));
}

}  // namespace
}  // namespace kelp::test
