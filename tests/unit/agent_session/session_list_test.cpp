#include "session/session_list.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "listed_session.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;

constexpr const char* kHost = "10.0.0.1:5000";

class SessionListTest : public testing::Test {
  protected:
    ~SessionListTest() override {
        for (const SessionRef& each : made_)
            list_.remove(each.get());
    }

    /// List a session that the test also holds.
    EmsSession_IImpl* list(const SessionRef& session) {
        made_.push_back(SessionRef::pin(session.get()));
        session->_add_ref();
        EXPECT_TRUE(list_.add(session.get()));
        return session.get();
    }
    EmsSession_IImpl* list(const std::string& hostInfo, const std::string& user) {
        return list(makeSession(hostInfo, user));
    }
    std::vector<EmsSession_IImpl*> listed() {
        std::vector<EmsSession_IImpl*> all;
        for (const SessionRef& each : list_.pinAll())
            all.push_back(each.get());
        return all;
    }

    SessionList list_;
    std::vector<SessionRef> made_;
};

TEST_F(SessionListTest, KeepsSessionsInLogInOrder) {
    EmsSession_IImpl* const first = list(kHost, "c");
    EmsSession_IImpl* const second = list(kHost, "a");
    EmsSession_IImpl* const third = list(kHost, "b");
    EXPECT_EQ(listed(), (std::vector{first, second, third}));
    list_.remove(second);
    EXPECT_EQ(listed(), (std::vector{first, third}));
    EXPECT_EQ(list_.count(), 2u);
}

TEST_F(SessionListTest, OwnsOneReferenceOnEachSession) {
    EmsSession_IImpl* const session = list(kHost, "admin");
    EXPECT_EQ(session->_refcount_value(), 2u);
    list_.remove(session);
    EXPECT_EQ(session->_refcount_value(), 1u);
    list_.remove(session);
    EXPECT_EQ(session->_refcount_value(), 1u) << "a session that is not listed is left alone";
}

TEST_F(SessionListTest, HandsItsReferenceToWhoTakesASession) {
    EmsSession_IImpl* const session = list(kHost, "admin");
    {
        const SessionRef taken = list_.take(kHost, "admin");
        EXPECT_EQ(taken.get(), session);
        EXPECT_EQ(session->_refcount_value(), 2u);
        EXPECT_EQ(list_.count(), 0u);
        EXPECT_FALSE(list_.take(kHost, "admin"));
    }
    EXPECT_EQ(session->_refcount_value(), 1u);
}

TEST_F(SessionListTest, FindsAndPinsTheOldestOfEqualSessions) {
    EmsSession_IImpl* const older = list(kHost, "admin");
    EmsSession_IImpl* const newer = list(kHost, "admin");
    EXPECT_EQ(list_.find(kHost, "admin"), older);
    EXPECT_EQ(older->_refcount_value(), 2u);
    {
        const SessionRef pinned = list_.pin(kHost, "admin");
        EXPECT_EQ(pinned.get(), older);
        EXPECT_EQ(older->_refcount_value(), 3u);
    }
    list_.remove(older);
    EXPECT_EQ(list_.find(kHost, "admin"), newer);
}

TEST_F(SessionListTest, FindsNothingForAnotherHostOrUser) {
    list(kHost, "admin");
    EXPECT_EQ(list_.find("10.0.0.1:500", "admin"), nullptr);
    EXPECT_EQ(list_.find(kHost, "Admin"), nullptr);
    EXPECT_FALSE(list_.pin("10.0.0.2:5000", "admin"));
    // the same text when user and host are joined
    EXPECT_EQ(list_.find("0.0.0.1:5000", "admin1"), nullptr);
}

TEST_F(SessionListTest, PinsByTheJoinedClientKey) {
    EmsSession_IImpl* const session = list("1.0.0.1:5000", "admin");
    EmsSession_IImpl* const equallyNamed = list(".0.0.1:5000", "admin1");
    list("1.0.0.1:5001", "admin");
    std::vector<SessionRef> pinned;
    EXPECT_TRUE(list_.pinByClientKey("admin1.0.0.1:5000", pinned));
    ASSERT_EQ(pinned.size(), 2u);
    EXPECT_TRUE((pinned[0].get() == session && pinned[1].get() == equallyNamed) ||
                (pinned[0].get() == equallyNamed && pinned[1].get() == session));
    EXPECT_EQ(session->_refcount_value(), 3u);
    EXPECT_TRUE(list_.pinByClientKey("nobody", pinned));
    EXPECT_EQ(pinned.size(), 2u);
}

TEST_F(SessionListTest, ErasesOnlyListedSessionsThatAreNotNormal) {
    EmsSession_IImpl* const normal = list(kHost, "normal");
    EmsSession_IImpl* const ended = list(kHost, "ended");
    EmsSession_IImpl* const unlisted = list(kHost, "unlisted");
    ended->source()->set_state(Ended);
    unlisted->source()->set_state(Ended);
    list_.remove(unlisted);
    EXPECT_EQ(list_.eraseEnded({unlisted, ended, normal, ended}), 1);
    EXPECT_EQ(listed(), std::vector{normal});
    EXPECT_EQ(ended->_refcount_value(), 1u);
    EXPECT_EQ(normal->_refcount_value(), 2u);
}

TEST_F(SessionListTest, ListsASessionWithoutASourceUntilItIsRemoved) {
    EmsSession_IImpl* const session = list(makeSessionWithoutSource());
    EXPECT_EQ(list_.eraseEnded({session}), 0);
    EXPECT_FALSE(list_.hasSessionOf(""));
    EXPECT_EQ(list_.find("", ""), nullptr);
    list_.remove(session);
    EXPECT_EQ(list_.count(), 0u);
}

TEST_F(SessionListTest, KnowsTheUsersOfItsSessions) {
    EmsSession_IImpl* const session = list(kHost, "admin");
    EXPECT_TRUE(list_.hasSessionOf("admin"));
    EXPECT_FALSE(list_.hasSessionOf("admi"));
    list_.remove(session);
    EXPECT_FALSE(list_.hasSessionOf("admin"));
}

TEST_F(SessionListTest, ClosesOnlyWhenItIsEmpty) {
    EmsSession_IImpl* const session = list(kHost, "admin");
    EXPECT_FALSE(list_.closeIfEmpty());
    list_.remove(session);
    EXPECT_TRUE(list_.closeIfEmpty());
    EXPECT_FALSE(list_.add(session));
    EXPECT_EQ(session->_refcount_value(), 1u) << "the caller keeps the reference";
    EXPECT_EQ(list_.count(), 0u);
    list_.reopen();
    list(kHost, "another");
    EXPECT_EQ(list_.count(), 1u);
}

TEST_F(SessionListTest, DropsACallersReference) {
    const SessionRef session = makeSession(kHost, "admin");
    session->_add_ref();
    list_.removeRefLocked(session.get());
    EXPECT_EQ(session->_refcount_value(), 1u);
}

TEST_F(SessionListTest, LetsOnlyOneOfManyThreadsTakeASession) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 200;
    std::vector<SessionRef> sessions;
    for (int i = 0; i < kRounds; ++i) {
        sessions.push_back(makeSession(kHost, "user" + std::to_string(i)));
        list(sessions.back());
    }
    std::atomic<int> taken{0};
    std::vector<std::jthread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kRounds; ++i) {
                const std::string user = "user" + std::to_string(i);
                const SessionRef pinned = list_.pin(kHost, user);
                if (list_.take(kHost, user))
                    ++taken;
            }
        });
    }
    threads.clear();
    EXPECT_EQ(taken, kRounds);
    EXPECT_EQ(list_.count(), 0u);
    for (const SessionRef& each : sessions)
        EXPECT_EQ(each->_refcount_value(), 2u) << "held here and by the fixture";
}

}  // namespace
