#include "history/session_history.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>

#include "support/small_disk.h"
#include "support/temporary_directory.h"
#include "support/wait_until.h"

namespace NS_KELPCORBA {
namespace {

using kelp::test::TemporaryDirectory;
using std::chrono::days;
using std::chrono::hours;

class SessionHistoryTest : public testing::Test {
  protected:
    void open() {
        history.open(file(), [this] { return limits; });
    }
    std::filesystem::path file() const { return folder.path() / "sessions.db"; }
    SessionRecord begin(const std::string& user) {
        SessionRecord session;
        session.number = history.nextNumber();
        session.user = user;
        session.nms = "127.0.0.1:1";
        session.started = utcNow();
        history.note(session);
        return session;
    }
    void end(SessionRecord session, EndReason reason, UtcMs when = utcNow()) {
        session.ended = when;
        session.reason = reason;
        session.by = "EMS";
        history.note(session, [](SessionRecord& record) { record.events = {10, 6, 3, 1}; });
    }
    std::vector<SessionRecord> ended(const EndedFilter& filter = {}) {
        return history.ended(filter);
    }

    TemporaryDirectory folder;
    HistoryLimits limits;
    SessionHistory history;
};

TEST_F(SessionHistoryTest, KeepsEndedSessionsNewestFirst) {
    open();
    const SessionRecord first = begin("alice");
    const SessionRecord second = begin("bob");
    begin("carol");
    end(second, EndReason::LogOut);
    end(first, EndReason::Dead);
    const auto all = ended();
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].user, "bob");
    EXPECT_EQ(all[1].user, "alice");
    EXPECT_EQ(all[1].reason, EndReason::Dead);
    EXPECT_EQ(all[1].events.lost, 3U);
    EXPECT_EQ(all[1].events.queued, 1U);
    ASSERT_TRUE(history.endedWith(first.number));
    EXPECT_FALSE(history.endedWith(12345));
}

TEST_F(SessionHistoryTest, Filters) {
    open();
    const SessionRecord alice = begin("alice");
    const SessionRecord bob = begin("bob");
    end(alice, EndReason::LogOut);
    end(bob, EndReason::Limit);
    EXPECT_EQ(ended({.user = "bob"}).size(), 1U);
    EXPECT_EQ(ended({.user = "'; DROP TABLE session; --"}).size(), 0U);
    EXPECT_EQ(ended({.reason = EndReason::LogOut}).at(0).user, "alice");
    EXPECT_EQ(ended({.since = utcNow() + hours(1)}).size(), 0U);
    EXPECT_EQ(ended({.until = utcNow() + hours(1)}).size(), 2U);
    EXPECT_EQ(ended({.before = bob.number}).at(0).user, "alice");
    EXPECT_EQ(ended({.limit = 1}).size(), 1U);
}

TEST_F(SessionHistoryTest, SessionsLeftOpenEndedWithTheirHost) {
    open();
    const SessionRecord left = begin("alice");
    history.close();
    SessionHistory next;
    next.open(file(), [this] { return limits; });
    const auto all = next.ended({});
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all[0].number, left.number);
    EXPECT_EQ(all[0].reason, EndReason::HostKilled);
    EXPECT_GE(all[0].ended, all[0].started);
    EXPECT_GT(next.nextNumber(), left.number);
}

TEST_F(SessionHistoryTest, RemovesTheOldAndTheExcess) {
    limits.days = days(60);
    open();
    for (int i = 0; i < 4; ++i)
        end(begin("user" + std::to_string(i)), EndReason::LogOut);
    end(begin("old"), EndReason::LogOut, utcNow() - days(31));
    history.close();
    limits = {days(30), 2};
    open();
    begin("next");
    EXPECT_TRUE(kelp::test::waitUntil([&] { return ended().size() == 2; }));
    EXPECT_EQ(ended().at(0).user, "user3");
    EXPECT_EQ(ended().at(1).user, "user2");
}

TEST_F(SessionHistoryTest, OtherFilesStayAsTheyAre) {
    const std::string content = "somebody's notes, longer than a header would be, and no database";
    std::ofstream(file()) << content;
    std::filesystem::permissions(
        file(), std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
    open();
    end(begin("alice"), EndReason::LogOut);
    EXPECT_THROW(ended(), std::exception);
    history.close();
    std::ifstream in(file());
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), content);
}

TEST_F(SessionHistoryTest, ClosedHistoryIgnoresSessions) {
    end(begin("alice"), EndReason::LogOut);
    open();
    EXPECT_TRUE(ended().empty());
}

#ifdef KELP_CAN_MOUNT
TEST_F(SessionHistoryTest, FullDiskDelaysNobodyAndLosesNothingThatFits) {
    const kelp::test::SmallDisk disk(folder.path());
    ASSERT_TRUE(disk.isMounted());
    open();
    end(begin("before"), EndReason::LogOut);
    ASSERT_EQ(ended().size(), 1U);
    disk.fill();
    const auto begun = std::chrono::steady_clock::now();
    for (int i = 0; i < 1000; ++i)
        end(begin("during"), EndReason::Dead);
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(2));
    EXPECT_TRUE(kelp::test::waitUntil([&] { return history.fails(); }));
    disk.makeRoom();
    EXPECT_TRUE(kelp::test::waitUntil([&] { return ended({.limit = 1000}).size() == 1000; }));
    EXPECT_FALSE(history.fails());
    EXPECT_EQ(history.dropped(), 0U);
}

TEST_F(SessionHistoryTest, CountsWhatTheQueueCannotHold) {
    const kelp::test::SmallDisk disk(folder.path());
    ASSERT_TRUE(disk.isMounted());
    open();
    ASSERT_TRUE(ended().empty());
    disk.fill();
    for (std::size_t i = 0; i < SessionHistory::kWaitingMax + 500; ++i)
        end(begin("many"), EndReason::Dead);
    EXPECT_TRUE(kelp::test::waitUntil([&] { return history.fails(); }));
    EXPECT_GE(history.dropped(), 500U);
}
#endif

}  // namespace
}  // namespace NS_KELPCORBA
