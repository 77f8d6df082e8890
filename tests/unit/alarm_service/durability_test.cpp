#include <fstream>
#include <iterator>

#include "service/saved_lists.h"
#include "service_fixture.h"

namespace kelp::test {
namespace {

using alarms::Severity;

/// A service that saves its list often and keeps little of its log.
class SavedList : public AlarmServiceTest {
  protected:
    SavedList() {
        settings_.recordsPerSave = 20;
        settings_.recordsKept = 10;
    }
    /// Raise alarms until the log was truncated.
    void raiseUntilTruncated() {
        const alarms::Position begin = log().first();
        int element = 0;
        ASSERT_TRUE(waitUntil(
            [&] {
                submitOne(raise(++element));
                return log().first() != begin;
            },
            std::chrono::seconds(60)));
        // two lists are kept, and none is being saved any more
        ASSERT_TRUE(waitUntil([&] { return lists_.positions().size() == 2; }));
    }
    void damage(alarms::Position position) const {
        const auto file = settings_.savedLists / ("alarms-" + std::to_string(position) + ".list");
        std::string content = contentOf(file);
        content.at(content.size() / 2) ^= 1;
        std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
    }

    const alarms::SavedLists lists_{settings_.savedLists};
};

using Restart = AlarmServiceTest;

TEST_F(Restart, HasTheSameList) {
    start();
    for (int i = 0; i < 50; ++i)
        submitOne(raise(i, i % 2 == 0 ? Severity::Minor : Severity::Critical));
    submitOne(clear(7));
    service().submit({alarms::Acknowledge{alarms::identityOf(alarmOf(8)), true, "ann", "seen"}});
    const auto before = service().state();
    end();
    start();
    EXPECT_TRUE(*service().state() == *before);
}

TEST_F(Restart, BeginsWithAnEmptyList) {
    start();
    EXPECT_TRUE(active().empty());
    EXPECT_EQ(sink_.count(), 0u);
}

TEST_F(Restart, ContinuesTheNotificationIds) {
    start();
    const auto before = submitOne(raise(1)).position;
    end();
    start();
    EXPECT_EQ(submitOne(raise(2)).position, before + 1);
}

TEST_F(Restart, RefusesALogWithARecordThatIsNoChange) {
    start();
    const changelog::NewRecord record{"", "not a change"};
    log().append({&record, 1});
    end();
    try {
        start();
        FAIL() << "it starts";
    } catch (const std::runtime_error& failure) {
        EXPECT_NE(std::string(failure.what()).find("of the change log is damaged"),
                  std::string::npos)
            << failure.what();
    }
}

TEST_F(SavedList, ReplacesTheRecordsBeforeIt) {
    start();
    raiseUntilTruncated();
    const auto before = service().state();
    end();
    start();
    EXPECT_TRUE(*service().state() == *before);
}

TEST_F(SavedList, IsReplacedByTheOneBeforeWhenItIsDamaged) {
    start();
    raiseUntilTruncated();
    const auto before = service().state();
    end();
    damage(lists_.positions().front());
    start();
    EXPECT_TRUE(*service().state() == *before);
}

TEST_F(SavedList, IsNeededOnceTheLogIsTruncated) {
    start();
    raiseUntilTruncated();
    end();
    for (const alarms::Position each : lists_.positions())
        damage(each);
    EXPECT_THROW(start(), std::runtime_error);
}

TEST_F(SavedList, OfAnotherLogIsNotUsed) {
    start();
    raiseUntilTruncated();
    end();
    for (const char* name : {"changes.db", "changes.db-wal", "changes.db-shm"})
        std::filesystem::remove(folder_ / name);
    start();
    EXPECT_TRUE(active().empty());
    EXPECT_EQ(submitOne(raise(1)).outcome, alarms::Outcome::Raised);
}

TEST_F(SavedList, WaitsUntilItsEventsAreHandedOver) {
    sink_.open(false);
    start();
    for (int i = 0; i < 100; ++i)
        submitOne(raise(i));
    end();
    EXPECT_TRUE(lists_.positions().empty());
    sink_.open(true);
    start();
    EXPECT_TRUE(waitUntil([&] { return sink_.count() == 100; }));
}

}  // namespace
}  // namespace kelp::test
