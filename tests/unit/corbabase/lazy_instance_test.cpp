#include <gtest/gtest.h>
#include <kelp/corbabase/lazy_instance.h>

#include <atomic>
#include <latch>
#include <set>
#include <thread>
#include <vector>

namespace {

using NS_CORBA::LazyInstance;

struct Object {
    explicit Object(std::atomic<int>& count) : alive(count) { ++alive; }
    ~Object() { --alive; }
    std::atomic<int>& alive;
};

class LazyInstanceTest : public testing::Test {
  protected:
    ~LazyInstanceTest() override { instance_.destroy(drop); }

    Object* get() {
        return instance_.get([this] { return new Object(alive_); });
    }
    static void drop(Object* made) { delete made; }

    std::atomic<int> alive_{0};
    LazyInstance<Object> instance_;
};

TEST_F(LazyInstanceTest, IsMadeOnFirstUseOnly) {
    EXPECT_EQ(instance_.existing(), nullptr);
    EXPECT_EQ(alive_, 0);
    Object* const made = get();
    EXPECT_EQ(get(), made);
    EXPECT_EQ(instance_.existing(), made);
    EXPECT_EQ(alive_, 1);
}

TEST_F(LazyInstanceTest, IsMadeAgainAfterItWasDestroyed) {
    get();
    instance_.destroy(drop);
    EXPECT_EQ(alive_, 0);
    EXPECT_EQ(instance_.existing(), nullptr);
    EXPECT_NE(get(), nullptr);
    EXPECT_EQ(alive_, 1);
}

TEST_F(LazyInstanceTest, IsDestroyedOnce) {
    int ended = 0;
    const auto end = [&](Object* made) {
        ++ended;
        delete made;
    };
    instance_.destroy(end);
    EXPECT_EQ(ended, 0) << "without an object";
    get();
    instance_.destroy(end);
    instance_.destroy(end);
    EXPECT_EQ(ended, 1);
}

TEST_F(LazyInstanceTest, IsNotFoundWhileItEnds) {
    get();
    Object* during = nullptr;
    instance_.destroy([&](Object* made) {
        EXPECT_EQ(instance_.existing(), nullptr);
        during = get();
        EXPECT_NE(during, made);
        delete made;
    });
    EXPECT_EQ(get(), during);
}

TEST_F(LazyInstanceTest, IsFoundWhileItsEndIsPrepared) {
    Object* const made = get();
    instance_.destroy(
        made, [&](Object* prepared) { EXPECT_EQ(get(), prepared); },
        [&](Object* ended) {
            EXPECT_EQ(instance_.existing(), nullptr);
            delete ended;
        });
    EXPECT_EQ(alive_, 0);
}

TEST_F(LazyInstanceTest, StaysWhenAnotherObjectIsToBeDestroyed) {
    Object* const made = get();
    std::atomic<int> others{0};
    const Object other(others);
    const auto fail = [](Object*) { ADD_FAILURE(); };
    instance_.destroy(&other, fail, fail);
    instance_.destroy(nullptr, fail, fail);
    EXPECT_EQ(instance_.existing(), made);
    instance_.destroy(drop);
    instance_.destroy(nullptr, fail, fail);
}

TEST_F(LazyInstanceTest, IsOneForAllThreads) {
    constexpr int kThreads = 8;
    std::latch start(kThreads);
    std::vector<Object*> found(kThreads);
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&, i] {
                start.arrive_and_wait();
                found[static_cast<std::size_t>(i)] = get();
            });
        }
    }
    EXPECT_EQ(std::set<Object*>(found.begin(), found.end()).size(), 1u);
    EXPECT_EQ(alive_, 1);
}

}  // namespace
