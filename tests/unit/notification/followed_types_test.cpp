#include "event_types/followed_types.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <set>
#include <thread>
#include <vector>

#include "event_types.h"
#include "event_types/change_notices.h"
#include "support/trace_capture.h"
#include "support/wait_until.h"

namespace kelp::notification {
namespace {

using namespace std::chrono_literals;
using kelp::test::waitUntil;

const TypeName kA("d", "A");
const TypeName kB("d", "B");
const TypeName kC("d", "C");

TypeSet setOf(const CosNotification::EventTypeSeq& sequence) {
    TypeSet set;
    for (CORBA::ULong i = 0; i < sequence.length(); ++i)
        set.insert(nameOf(sequence[i]));
    return set;
}

struct Notice {
    TypeSet added;
    TypeSet removed;
    bool operator==(const Notice&) const = default;
};

/// A peer that records its notices. It answers when its gate is open, and runs `answer`.
class Told {
  public:
    FollowedTypes::Peer peer(const std::string& name = "the peer") {
        return {name, [this](const auto& added, const auto& removed) {
                    ++calls;
                    if (gate.valid())
                        gate.wait();
                    if (answer)
                        answer();
                    const std::lock_guard guard(mutex_);
                    notices_.push_back({setOf(added), setOf(removed)});
                }};
    }
    std::vector<Notice> notices() const {
        const std::lock_guard guard(mutex_);
        return notices_;
    }
    bool gets(std::size_t count) const {
        return waitUntil([&] { return notices().size() >= count; });
    }

    std::atomic<int> calls{0};
    std::shared_future<void> gate;
    std::function<void()> answer;

  private:
    mutable std::mutex mutex_;
    std::vector<Notice> notices_;
};

class Feed : public testing::Test {
  protected:
    std::shared_ptr<FollowedTypes> followedTypes(
        TypeSet initial = {}, std::size_t followersMax = FollowedTypes::kNoLimit) {
        return std::make_shared<FollowedTypes>(notices_, std::move(initial), followersMax);
    }

    Told told_;  // both outlive the thread of notices_
    Told other_;
    std::promise<void> open_;
    ChangeNotices notices_{100ms};
};

TEST_F(Feed, ReportsAddedAndRemovedTypes) {
    const auto types = followedTypes({kA});
    types->follow(told_.peer(), {kA});
    types->publish({kB});
    ASSERT_TRUE(told_.gets(1));
    types->publish({kB, kC});
    ASSERT_TRUE(told_.gets(2));
    EXPECT_EQ(told_.notices(), (std::vector<Notice>{{{kB}, {kA}}, {{kC}, {}}}));
    EXPECT_EQ(types->types(), TypeSet({kB, kC}));
}

TEST_F(Feed, ReportsNothingWhileNothingChanges) {
    const auto types = followedTypes({kA});
    types->follow(told_.peer(), {kA});
    types->publish({kA});
    types->publish({kB});
    ASSERT_TRUE(told_.gets(1));
    EXPECT_FALSE(types->tellNext());
    EXPECT_EQ(told_.notices(), (std::vector<Notice>{{{kB}, {kA}}}));
}

TEST_F(Feed, ReportsToAPeerAtOnceWhatItDoesNotKnow) {
    const auto types = followedTypes({kA, kB});
    types->follow(told_.peer(), {kA, kC});
    ASSERT_TRUE(told_.gets(1));
    EXPECT_EQ(told_.notices(), (std::vector<Notice>{{{kB}, {kC}}}));
}

TEST_F(Feed, MergesWhatChangesWhileAPeerIsCalled) {
    told_.gate = open_.get_future().share();
    const auto types = followedTypes();
    types->follow(told_.peer(), {});
    types->publish({kA});
    ASSERT_TRUE(waitUntil([&] { return told_.calls == 1; }));
    for (int i = 0; i < 50; ++i)
        types->publish(i % 2 == 0 ? TypeSet{kB} : TypeSet{kA, kB});
    open_.set_value();
    ASSERT_TRUE(told_.gets(2));
    EXPECT_FALSE(types->tellNext());
    EXPECT_EQ(told_.notices(), (std::vector<Notice>{{{kA}, {}}, {{kB}, {}}}));
}

TEST_F(Feed, ReportsNoChangesThatCancelOut) {
    told_.gate = open_.get_future().share();
    const auto types = followedTypes();
    types->follow(told_.peer(), {});
    types->publish({kA});
    ASSERT_TRUE(waitUntil([&] { return told_.calls == 1; }));
    types->publish({});
    types->publish({kA});
    open_.set_value();
    ASSERT_TRUE(told_.gets(1));
    types->publish({kA, kC});
    ASSERT_TRUE(told_.gets(2));
    EXPECT_EQ(told_.notices(), (std::vector<Notice>{{{kA}, {}}, {{kC}, {}}}));
}

TEST_F(Feed, DoesNotNotifyAPeerThatWasRemoved) {
    const auto types = followedTypes();
    const auto id = types->follow(told_.peer(), {});
    types->follow(other_.peer(), {});
    EXPECT_TRUE(types->unfollow(id));
    EXPECT_FALSE(types->unfollow(id));
    types->publish({kA});
    ASSERT_TRUE(other_.gets(1));
    EXPECT_FALSE(types->tellNext());
    EXPECT_EQ(told_.calls, 0);
}

TEST_F(Feed, GivesUpAPeerThatFailsAndSaysWhy) {
    const std::vector<std::function<void()>> failures{
        [] { throw CORBA::TIMEOUT(0, CORBA::COMPLETED_NO); },
        [] { throw CORBA::TRANSIENT(0, CORBA::COMPLETED_NO); },
        [] { throw CORBA::COMM_FAILURE(0, CORBA::COMPLETED_NO); },
        [] { throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO); },
        [] { throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO); },
        [] { throw CORBA::BAD_OPERATION(0, CORBA::COMPLETED_NO); },
        [] { throw CORBA::UNKNOWN(0, CORBA::COMPLETED_MAYBE); }};
    for (const auto& each : failures) {
        const kelp::test::TraceCapture trace;
        Told failing;
        failing.answer = each;
        const auto types = followedTypes();
        types->follow(failing.peer("consumer 7/9"), {});
        types->publish({kA});
        EXPECT_TRUE(trace.waitFor("consumer 7/9 receives no more changes of event types: "));
        EXPECT_TRUE(types->followers().empty());
        types->publish({kB});
        EXPECT_FALSE(types->tellNext());
        EXPECT_EQ(failing.calls, 1);
    }
}

TEST_F(Feed, KeepsNotifyingAPeerThatRefusesAType) {
    const kelp::test::TraceCapture trace;
    told_.answer = [] { throw CosNotifyComm::InvalidEventType(test::type("d", "A")); };
    const auto types = followedTypes();
    types->follow(told_.peer(), {});
    types->publish({kA});
    EXPECT_TRUE(trace.waitFor("the peer does not take a change of event types"));
    types->publish({kB});
    EXPECT_TRUE(waitUntil([&] { return told_.calls == 2; }));
    EXPECT_EQ(types->followers().size(), 1u);
}

TEST_F(Feed, AcceptsPeersUpToItsLimit) {
    const auto types = followedTypes({}, 2);
    const auto first = types->follow(told_.peer(), {});
    types->follow(told_.peer(), {});
    EXPECT_THROW(types->follow(told_.peer(), {}), CORBA::NO_RESOURCES);
    types->unfollow(first);
    EXPECT_NO_THROW(types->follow(told_.peer(), {}));
}

TEST_F(Feed, MayBeReadAndChangedByAPeerDuringANotice) {
    const auto types = followedTypes();
    FollowedTypes::FollowerId id = 0;
    told_.answer = [&] {
        if (types->types() == TypeSet{kA})
            types->publish({kA, kB});
        else
            types->unfollow(id);
    };
    id = types->follow(told_.peer(), {});
    types->publish({kA});
    ASSERT_TRUE(told_.gets(2));
    EXPECT_EQ(told_.notices(), (std::vector<Notice>{{{kA}, {}}, {{kB}, {}}}));
    EXPECT_TRUE(types->followers().empty());
}

TEST_F(Feed, LeavesNobodyOutThatChangesAllTheTime) {
    const auto busy = followedTypes();
    const auto quiet = followedTypes();
    Told behind;
    // each call causes another one, until the other peer and the other types have had their turns
    told_.answer = [&] {
        if (behind.calls == 0 || other_.calls == 0)
            busy->publish(busy->types() == TypeSet{kA} ? TypeSet{kB} : TypeSet{kA});
    };
    busy->follow(told_.peer(), {});
    busy->follow(behind.peer(), {});
    quiet->follow(other_.peer(), {});
    busy->publish({kA});
    quiet->publish({kA});
    EXPECT_TRUE(other_.gets(1));
    EXPECT_TRUE(behind.gets(1));
    notices_.stop();
}

TEST_F(Feed, NotifiesOnOneThreadThatIsNotTheCallers) {
    std::mutex mutex;
    std::set<std::thread::id> threads;
    const auto note = [&] {
        const std::lock_guard guard(mutex);
        threads.insert(std::this_thread::get_id());
    };
    told_.answer = note;
    other_.answer = note;
    const auto one = followedTypes();
    const auto two = followedTypes();
    one->follow(told_.peer(), {});
    two->follow(other_.peer(), {});
    one->publish({kA});
    two->publish({kA});
    ASSERT_TRUE(told_.gets(1) && other_.gets(1));
    EXPECT_EQ(threads.size(), 1u);
    EXPECT_FALSE(threads.contains(std::this_thread::get_id()));
}

TEST_F(Feed, NotifiesNobodyAfterTheStop) {
    told_.gate = open_.get_future().share();
    const auto types = followedTypes();
    types->follow(told_.peer(), {});
    types->follow(other_.peer(), {});
    types->publish({kA});
    ASSERT_TRUE(waitUntil([&] { return told_.calls == 1; }));
    notices_.close();
    open_.set_value();
    notices_.stop();
    EXPECT_TRUE(told_.gets(1)) << "the call in progress was waited for";
    types->publish({kB});
    EXPECT_EQ(told_.calls, 1);
    EXPECT_EQ(other_.calls, 0) << "the next call has not begun";
}

TEST_F(Feed, EndsWithItsLastNotice) {
    told_.gate = open_.get_future().share();
    auto types = followedTypes({kA});
    const std::weak_ptr<FollowedTypes> watched = types;
    types->follow(told_.peer(), {kA});
    types->publish({});
    types.reset();
    open_.set_value();
    ASSERT_TRUE(told_.gets(1));
    EXPECT_EQ(told_.notices(), (std::vector<Notice>{{{}, {kA}}}));
    EXPECT_TRUE(waitUntil([&] { return watched.expired(); }));
}

}  // namespace
}  // namespace kelp::notification
