#include "session/ordered_run.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <thread>
#include <vector>

#include "support/latch.h"
#include "support/wait_until.h"

namespace {

using kelp::test::Latch;
using kelp::test::waitUntil;
using NS_KELPCORBA::OrderedSteps;
using NS_KELPCORBA::runInOrder;

std::vector<std::size_t> upTo(std::size_t count) {
    std::vector<std::size_t> all;
    for (std::size_t i = 0; i < count; ++i)
        all.push_back(i);
    return all;
}

TEST(OrderedRun, BeginsAndConcludesInTheOrderOfTheList) {
    constexpr std::size_t kCount = 200;
    std::vector<std::size_t> begun;
    std::vector<std::size_t> concluded;
    std::vector<std::atomic<bool>> hasRun(kCount);
    OrderedSteps steps;
    steps.begin = [&](std::size_t i) { begun.push_back(i); };
    steps.run = [&](std::size_t i) {
        if (i % 7 == 0)
            std::this_thread::yield();
        hasRun[i] = true;
    };
    steps.conclude = [&](std::size_t i) {
        EXPECT_TRUE(hasRun[i]) << i;
        concluded.push_back(i);
    };
    runInOrder(kCount, 16, steps);
    EXPECT_EQ(begun, upTo(kCount));
    EXPECT_EQ(concluded, upTo(kCount));
}

TEST(OrderedRun, ConcludesOnTheCallersThreadAndRunsOnOthers) {
    const std::thread::id caller = std::this_thread::get_id();
    OrderedSteps steps;
    steps.begin = [](std::size_t) {};
    steps.run = [&](std::size_t) { EXPECT_NE(std::this_thread::get_id(), caller); };
    steps.conclude = [&](std::size_t) { EXPECT_EQ(std::this_thread::get_id(), caller); };
    runInOrder(3, 2, steps);
}

TEST(OrderedRun, RunsAsManyAtATimeAsAllowed) {
    Latch gate;
    std::atomic<int> running{0};
    std::atomic<int> most{0};
    OrderedSteps steps;
    steps.begin = [](std::size_t) {};
    steps.run = [&](std::size_t) {
        const int now = ++running;
        for (int before = most; before < now && !most.compare_exchange_weak(before, now);) {
        }
        gate.pass();
        --running;
    };
    steps.conclude = [](std::size_t) {};
    std::thread opener([&] {
        EXPECT_TRUE(gate.isReachedBy(4));
        gate.open();
    });
    runInOrder(20, 4, steps);
    opener.join();
    EXPECT_EQ(most, 4);
}

TEST(OrderedRun, ContinuesWithTheOthersWhileOneHangs) {
    Latch gate;
    std::atomic<int> done{0};
    std::atomic<int> concluded{0};
    OrderedSteps steps;
    steps.begin = [](std::size_t) {};
    steps.run = [&](std::size_t i) {
        if (i == 3)
            gate.pass();
        ++done;
    };
    steps.conclude = [&](std::size_t) { ++concluded; };
    std::thread run([&] { runInOrder(30, 2, steps); });
    EXPECT_TRUE(waitUntil([&] { return done == 29; }));
    EXPECT_TRUE(waitUntil([&] { return concluded == 3; })) << "those before it";
    gate.open();
    run.join();
    EXPECT_EQ(concluded, 30);
}

TEST(OrderedRun, LeavesNoThreadBehind) {
    const auto threads = [] {
        const std::filesystem::directory_iterator begin("/proc/self/task");
        return std::distance(begin, std::filesystem::directory_iterator());
    };
    // with the first thread, a sanitizer starts an additional one
    std::thread([] {}).join();
    const auto before = threads();
    OrderedSteps steps;
    steps.begin = steps.run = steps.conclude = [](std::size_t) {};
    runInOrder(100, 32, steps);
    EXPECT_TRUE(waitUntil([&] { return threads() == before; }));
}

TEST(OrderedRun, OfNothingDoesNothing) {
    OrderedSteps steps;
    steps.begin = steps.run = steps.conclude = [](std::size_t) { FAIL(); };
    runInOrder(0, 32, steps);
}

TEST(OrderedRun, HasAtLeastOneThread) {
    int concluded = 0;
    OrderedSteps steps;
    steps.begin = steps.run = [](std::size_t) {};
    steps.conclude = [&](std::size_t) { ++concluded; };
    runInOrder(3, 0, steps);
    EXPECT_EQ(concluded, 3);
}

}  // namespace
