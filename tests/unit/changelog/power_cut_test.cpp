#include <algorithm>
#include <map>
#include <optional>
#include <random>

#include "log_fixture.h"
#include "support/power_cut_disk.h"

namespace kelp::test {
namespace {

/// Random appends, marks and truncations on a disk whose power is cut at a random moment, several
/// times.
class PowerCut : public ChangeLogTest, public testing::WithParamInterface<std::uint64_t> {
  protected:
    std::uint64_t upTo(std::uint64_t maximum) {
        return std::uniform_int_distribution<std::uint64_t>(0, maximum)(random_);
    }

    /// Work until the power is cut.
    void workUntilCut() {
        try {
            const auto log = open();
            for (;;)
                step(*log);
        } catch (const LogFailure&) {
            ASSERT_TRUE(disk_.isCut());
        }
    }
    void step(ChangeLog& log) {
        if (upTo(9) == 0 && log.last() >= log.first()) {
            const Position mark = log.last() - upTo(log.last() - log.first());
            log.setMark("reader", mark);
        } else if (upTo(19) == 0 && log.last() >= log.first()) {
            const Position end = log.last() - upTo(std::min<Position>(5, log.last() - log.first()));
            truncated_ = std::max(truncated_, end);
            log.truncateBelow(end);
        } else {
            append(log);
        }
    }
    void append(ChangeLog& log) {
        attempted_.clear();
        for (std::uint64_t i = upTo(4) + 1; i > 0; --i) {
            const std::string number = std::to_string(++records_);
            attempted_.push_back({"key-" + number, number + std::string(upTo(3000), 'x')});
        }
        const auto appended = log.append(attempted_);
        for (std::size_t i = 0; i < appended.size(); ++i) {
            ASSERT_FALSE(appended[i].isRepeat);
            durable_[appended[i].position] = attempted_[i];
        }
        attempted_.clear();
    }

    /// Check what the cut has left.
    void check() {
        const auto log = open();
        const std::vector<Record> found = log->read(0, kNoLimit, kNoLimit);
        std::map<Position, std::string> contents;
        for (const Record& record : found)
            contents[record.position] = record.content;
        for (const auto& [position, record] : durable_) {
            if (position >= truncated_) {
                ASSERT_TRUE(contents.contains(position)) << position << " is lost";
            }
            if (const auto place = contents.find(position); place != contents.end()) {
                ASSERT_EQ(place->second, record.content);
            }
        }
        // the append that the cut interrupted: everything or nothing
        std::vector<std::string> others;
        const Position newest = durable_.empty() ? 0 : durable_.rbegin()->first;
        for (const Record& record : found)
            if (record.position > newest)
                others.push_back(record.content);
        std::vector<std::string> attempted;
        for (const NewRecord& record : attempted_)
            attempted.push_back(record.content);
        ASSERT_TRUE(others.empty() || others == attempted);
        ASSERT_LE(log->mark("reader"), log->last());
        // a sender that got no answer repeats itself
        const auto repeated = log->append(attempted_);
        for (std::size_t i = 0; i < repeated.size(); ++i) {
            ASSERT_EQ(repeated[i].isRepeat, !others.empty());
            durable_[repeated[i].position] = attempted_[i];
        }
        attempted_.clear();
    }
    std::unique_ptr<ChangeLog> open() {
        return changelog::openSqliteLog(
            {.file = file(), .syncEveryCommit = true, .vfs = disk_.vfs()});
    }

    std::mt19937_64 random_{GetParam()};
    PowerCutDisk disk_{GetParam()};
    std::uint64_t records_ = 0;
    std::vector<NewRecord> attempted_;
    std::map<Position, NewRecord> durable_;
    Position truncated_ = 0;
};

TEST_P(PowerCut, LosesNothingThatWasAppendedAndKeepsNothingInPart) {
    SCOPED_TRACE("seed " + std::to_string(GetParam()));
    for (int cut = 0; cut < 4; ++cut) {
        // also while the log is created or opened, and during a checkpoint
        disk_.cutAfter(upTo(cut % 2 == 0 ? 60 : 3000));
        ASSERT_NO_FATAL_FAILURE(workUntilCut());
        disk_.restore();
        ASSERT_NO_FATAL_FAILURE(check());
    }
}

INSTANTIATE_TEST_SUITE_P(Seeds, PowerCut, testing::Range<std::uint64_t>(1, 17));

/// The test above finds losses: a log that does not sync loses records.
TEST(PowerCutDisk, LosesWhatWasNotSynced) {
    bool isLost = false;
    for (std::uint64_t seed = 1; seed < 20 && !isLost; ++seed) {
        const TemporaryDirectory folder;
        PowerCutDisk disk(seed);
        const changelog::SqliteLogSettings settings{
            .file = folder / "changes.db", .syncEveryCommit = false, .vfs = disk.vfs()};
        Position last = 0;
        {
            const auto log = changelog::openSqliteLog(settings);
            last = appendOne(*log, "a").position;
            disk.cutAfter(0);
        }
        disk.restore();
        isLost = changelog::openSqliteLog(settings)->last() < last;
    }
    EXPECT_TRUE(isLost);
}

}  // namespace
}  // namespace kelp::test
