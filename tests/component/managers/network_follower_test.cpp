// How changes of the inventory reach the change log: each once, whatever fails in between.

#include "ems/alarms/network_follower.h"

#include <gmock/gmock.h>
#include <kelp/alarms/alarm_service.h>
#include <kelp/inventory/inventory.h>
#include <kelp/inventory/transfer.h>
#include <kelp/util/mutex.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "support/temporary_directory.h"
#include "support/wait_until.h"

namespace kelp::test {
namespace {

using namespace std::chrono_literals;
using alarms::IntakeRefused;
using alarms::NetworkChange;
using ems::NetworkFollower;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Clock = std::chrono::steady_clock;

/// A change log that keeps what it is given. It recognises keys, as the real one does.
class KeptChanges {
  public:
    NetworkFollower::Intake intake() {
        return {[this](std::vector<alarms::Submission> changes, const std::string& key) {
                    take(std::move(changes), key);
                },
                [this] { return isBusy.load(); }};
    }
    void take(std::vector<alarms::Submission> changes, const std::string& key) {
        const util::MutexLock lock(mutex_);
        ++attempts_;
        if (refusal_)
            throw IntakeRefused(*refusal_, "no");
        ASSERT_THAT(changes, SizeIs(1));
        if (std::find(keys_.begin(), keys_.end(), key) != keys_.end())
            return;
        keys_.push_back(key);
        times_.push_back(Clock::now());
        const auto& name = std::get<NetworkChange>(changes.front()).objectName;
        objects_.push_back(name.back().second);
    }
    void refuse(std::optional<IntakeRefused::Why> why) {
        const util::MutexLock lock(mutex_);
        refusal_ = why;
    }
    std::vector<std::string> objects() {
        const util::MutexLock lock(mutex_);
        return objects_;
    }
    std::vector<Clock::time_point> times() {
        const util::MutexLock lock(mutex_);
        return times_;
    }
    int attempts() {
        const util::MutexLock lock(mutex_);
        return attempts_;
    }
    bool has(std::size_t count) {
        return waitUntil([&] { return objects().size() >= count; });
    }

    std::atomic<bool> isBusy{false};

  private:
    util::Mutex mutex_{util::LockRank::Leaf, "KeptChanges::mutex_"};
    std::optional<IntakeRefused::Why> refusal_ KELP_GUARDED_BY(mutex_);
    std::vector<std::string> keys_ KELP_GUARDED_BY(mutex_);
    std::vector<std::string> objects_ KELP_GUARDED_BY(mutex_);
    std::vector<Clock::time_point> times_ KELP_GUARDED_BY(mutex_);
    int attempts_ KELP_GUARDED_BY(mutex_) = 0;
};

class NetworkFollowerTest : public testing::Test {
  protected:
    // records from here on
    NetworkFollowerTest() { inventory::ChangeFeed feed(file()); }

    std::string file() const { return (folder_.path() / "inventory.db").string(); }
    /// Elements "first" to "first + count - 1".
    void addElements(int first, int count) {
        std::string lines;
        for (int i = first; i < first + count; ++i)
            lines += R"({"object":"ManagedElement","productName":"P","ManagedElement":")" +
                     std::to_string(i) + "\"}\n";
        const inventory::ImportResult result =
            inventory::importInventory(file(), folder_.write("network.jsonl", lines), {});
        for (const inventory::ImportProblem& problem : result.problems)
            ADD_FAILURE() << problem.text();
    }
    NetworkFollower::Settings settings(std::size_t rate = 1000) const {
        NetworkFollower::Settings settings;
        settings.inventory = file();
        settings.eventsPerSecond = rate;
        settings.firstWait = 5ms;
        settings.longestWait = 40ms;
        return settings;
    }
    static std::vector<std::string> numbers(int first, int count) {
        std::vector<std::string> all;
        for (int i = first; i < first + count; ++i)
            all.push_back(std::to_string(i));
        return all;
    }
    /// Change an inventory that the follower may not have opened yet, until a change arrives.
    bool changesArrive() {
        const std::size_t before = log_.objects().size();
        int next = 1000;
        return waitUntil([&] {
            addElements(next++, 1);
            return log_.objects().size() > before;
        });
    }
    std::size_t left() { return inventory::ChangeFeed(file()).next(10'000).size(); }

    TemporaryDirectory folder_;
    KeptChanges log_;
};

TEST_F(NetworkFollowerTest, CarriesWhatIsWaitingAndWhatFollows) {
    addElements(0, 3);
    NetworkFollower follower(settings(), log_.intake());
    follower.start();
    ASSERT_TRUE(log_.has(3));
    addElements(3, 2);
    ASSERT_TRUE(log_.has(5));
    EXPECT_EQ(log_.objects(), numbers(0, 5));
    EXPECT_TRUE(waitUntil([&] { return left() == 0; }));
}

TEST_F(NetworkFollowerTest, ContinuesWithTheNextChangeAfterARestart) {
    addElements(0, 200);
    {
        NetworkFollower follower(settings(100), log_.intake());
        follower.start();
        ASSERT_TRUE(log_.has(15));
    }
    const std::size_t before = log_.objects().size();
    EXPECT_LT(before, 200u);
    EXPECT_EQ(left(), 200 - before) << "what is in the log has left the outbox";
    NetworkFollower follower(settings(), log_.intake());
    follower.start();
    ASSERT_TRUE(log_.has(200));
    EXPECT_EQ(log_.objects(), numbers(0, 200));
    EXPECT_EQ(log_.attempts(), 200);
}

TEST_F(NetworkFollowerTest, SubmitsAgainWithTheSameKeysAfterACrash) {
    addElements(0, 10);
    // what a process does that ends between the log and the outbox, with another batch size
    {
        inventory::ChangeFeed feed(file());
        for (const inventory::ObjectChange& change : feed.next(7))
            log_.take({NetworkChange{NetworkChange::Kind::Creation,
                                     {{"ManagedElement", change.name.back().value}},
                                     alarms::ObjectType::ManagedElement,
                                     "",
                                     ""}},
                      change.key);
    }
    NetworkFollower follower(settings(20), log_.intake());
    follower.start();
    ASSERT_TRUE(log_.has(10));
    EXPECT_EQ(log_.objects(), numbers(0, 10));
}

TEST_F(NetworkFollowerTest, RefusedChangesAreSubmittedAgain) {
    addElements(0, 3);
    log_.refuse(IntakeRefused::Why::Storage);
    NetworkFollower follower(settings(), log_.intake());
    follower.start();
    ASSERT_TRUE(waitUntil([&] { return log_.attempts() >= 4; }));
    EXPECT_THAT(log_.objects(), IsEmpty());
    EXPECT_EQ(left(), 3u);
    log_.refuse(std::nullopt);
    ASSERT_TRUE(log_.has(3));
    EXPECT_EQ(log_.objects(), numbers(0, 3));
}

TEST_F(NetworkFollowerTest, InvalidChangeIsLeftOut) {
    addElements(0, 3);
    log_.refuse(IntakeRefused::Why::Invalid);
    NetworkFollower follower(settings(), log_.intake());
    follower.start();
    ASSERT_TRUE(waitUntil([&] { return left() == 0; }));
    log_.refuse(std::nullopt);
    addElements(3, 1);
    ASSERT_TRUE(log_.has(1));
    EXPECT_THAT(log_.objects(), ElementsAre("3"));
}

TEST_F(NetworkFollowerTest, KeepsToTheRate) {
    addElements(0, 60);
    NetworkFollower follower(settings(100), log_.intake());
    follower.start();
    ASSERT_TRUE(log_.has(60));
    const std::vector<Clock::time_point> times = log_.times();
    EXPECT_GE(times.back() - times.front(), 580ms);
}

TEST_F(NetworkFollowerTest, LetsAlarmsPassButNotForever) {
    addElements(0, 3);
    log_.isBusy = true;
    NetworkFollower follower(settings(), log_.intake());
    follower.start();
    ASSERT_TRUE(log_.has(2));
    const std::vector<Clock::time_point> slow = log_.times();
    EXPECT_GE(slow[1] - slow[0], 900ms);
    log_.isBusy = false;
    ASSERT_TRUE(log_.has(3));
}

TEST_F(NetworkFollowerTest, StopEndsEveryWait) {
    const auto expectQuickStop = [](NetworkFollower& follower) {
        const Clock::time_point begin = Clock::now();
        follower.stop();
        EXPECT_LT(Clock::now() - begin, 2s);
    };
    NetworkFollower::Settings slow = settings(1);
    slow.firstWait = slow.longestWait = 60s;
    {
        NetworkFollower follower(slow, log_.intake());
        follower.start();
        expectQuickStop(follower);  // for news
    }
    addElements(0, 100);
    {
        NetworkFollower follower(slow, log_.intake());
        follower.start();
        ASSERT_TRUE(log_.has(1));
        expectQuickStop(follower);  // for its turn
    }
    log_.refuse(IntakeRefused::Why::Busy);
    const int before = log_.attempts();
    NetworkFollower follower(slow, log_.intake());
    follower.start();
    ASSERT_TRUE(waitUntil([&] { return log_.attempts() > before; }));
    expectQuickStop(follower);  // after a failure
}

TEST_F(NetworkFollowerTest, FollowsAFileThatReplacesTheInventory) {
    addElements(0, 1);
    NetworkFollower follower(settings(), log_.intake());
    follower.start();
    ASSERT_TRUE(log_.has(1));
    std::filesystem::rename(file(), file() + ".old");
    EXPECT_TRUE(changesArrive());
}

TEST_F(NetworkFollowerTest, InventoryThatCannotBeReadIsTriedAgain) {
    std::filesystem::remove(file());
    std::filesystem::create_directory(file());
    NetworkFollower follower(settings(), log_.intake());
    follower.start();
    std::filesystem::remove(file());
    EXPECT_TRUE(changesArrive());
}

}  // namespace
}  // namespace kelp::test
