// The memory of an event that waits.

#include <gtest/gtest.h>
#include <malloc.h>

#include <string>
#include <vector>

#include "delivery/event.h"
#include "support/full_alarm.h"
#include "support/orb_fixture.h"

namespace kelp::notification {
namespace {

/// Return the octets of the heap that are in use; 0 where the allocator does not count them.
std::size_t heapInUse() {
    return ::mallinfo2().uordblks;
}

TEST(QueuedEvent, CostsItsOctetsAndAtMost200Bytes) {
    const kelp::test::RunningOrb orb;
    const CosNotification::StructuredEvent event = kelp::test::fullAlarm();
    constexpr std::size_t count = 5000;
    constexpr std::size_t overheadMax = 200;
    std::vector<EventPtr> queue;
    queue.reserve(count);
    queue.push_back(makeEvent(event));  // the types of its values are learned once
    const std::size_t octets = queue.front()->octetsKept();
    EXPECT_GT(octets, 1000u);
    EXPECT_LT(queue.front()->encoded().octetsWithIndex(), octets + 60);
    const std::size_t before = heapInUse();
    while (queue.size() < count)
        queue.push_back(makeEvent(event));
    const std::size_t used = heapInUse() - before;
    if (used == 0)
        return;  // the allocators of the sanitizers do not count
    EXPECT_LE(used / (count - 1), octets + overheadMax);
    EXPECT_GT(used / (count - 1), octets);
}

}  // namespace
}  // namespace kelp::notification
