// Calls of the disconnect operations of dropped consumers.

#include "channel/farewells.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "support/wait_until.h"

namespace kelp::notification {
namespace {

using kelp::test::waitUntil;

TEST(Farewells, AreSaidByThreadsThatEnd) {
    Farewells farewells;
    std::atomic<int> said{0};
    EXPECT_EQ(farewells.threads(), 0u);
    for (int i = 0; i < 50; ++i)
        farewells.tell([&] { ++said; }, "a peer");
    EXPECT_TRUE(waitUntil([&] { return said == 50; }));
    EXPECT_TRUE(waitUntil([&] { return farewells.threads() == 0; }));
    farewells.giveMemoryBack();
    EXPECT_TRUE(waitUntil([&] { return farewells.threads() == 0; }));
    farewells.tell([&] { ++said; }, "a peer");
    EXPECT_TRUE(waitUntil([&] { return said == 51; }));
}

TEST(Farewells, AreSaidToTheOthersWhileOneHangsOrFails) {
    Farewells farewells;
    std::promise<void> open;
    const std::shared_future<void> gate = open.get_future().share();
    std::atomic<int> said{0};
    farewells.tell([gate] { gate.wait(); }, "a peer that hangs");
    farewells.tell([] { throw CORBA::TRANSIENT(); }, "a peer that has gone");
    farewells.tell(nullptr, "nobody");
    for (int i = 0; i < 20; ++i)
        farewells.tell([&] { ++said; }, "a peer");
    EXPECT_TRUE(waitUntil([&] { return said == 20; }));
    EXPECT_LE(farewells.threads(), 4u);
    open.set_value();
}

TEST(Farewells, AreNoLongerSaidOnceStopped) {
    Farewells farewells;
    std::promise<void> open;
    const std::shared_future<void> gate = open.get_future().share();
    std::atomic<int> begun{0};
    for (int i = 0; i < 20; ++i)
        farewells.tell(
            [&begun, gate] {
                ++begun;
                gate.wait();
            },
            "a peer that hangs");
    ASSERT_TRUE(waitUntil([&] { return begun == 4; }));
    auto stopping = std::async(std::launch::async, [&] { farewells.stop(); });
    // The test cannot see whether the stop has begun. Once it has, the remaining farewells are
    // dropped.
    open.set_value();
    stopping.get();
    const int said = begun;
    farewells.tell([&] { begun = 100; }, "a peer");
    EXPECT_EQ(begun, said);
}

}  // namespace
}  // namespace kelp::notification
