// The memory of an event that waits.

#include <gtest/gtest.h>
#include <malloc.h>

#include <string>
#include <vector>

#include "delivery/event.h"
#include "support/generated_events.h"
#include "support/orb_fixture.h"

namespace kelp::notification {
namespace {

/// An alarm of 17 fields, about 1.2 KB long.
CosNotification::StructuredEvent alarm() {
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup("tmf_mtnm");
    event.header.fixed_header.event_type.type_name = CORBA::string_dup("NT_ALARM");
    event.header.fixed_header.event_name = CORBA::string_dup("");
    event.filterable_data.length(17);
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i) {
        event.filterable_data[i].name = CORBA::string_dup(("field" + std::to_string(i)).c_str());
        switch (i % 4) {
            case 0: {
                globaldefs::NamingAttributes_T name;
                name.length(2);
                name[0].name = CORBA::string_dup("EMS");
                name[0].value = CORBA::string_dup("Company/Ems1");
                event.filterable_data[i].value <<= name;
                break;
            }
            case 1:
                event.filterable_data[i].value <<= notifications::PS_CRITICAL;
                break;
            case 2:
                event.filterable_data[i].value <<= CORBA::ULongLong(i);
                break;
            default:
                event.filterable_data[i].value <<= "Loss of signal at the line side";
                break;
        }
    }
    return event;
}

/// Return the octets of the heap that are in use; 0 where the allocator does not count them.
std::size_t heapInUse() {
    return ::mallinfo2().uordblks;
}

TEST(QueuedEvent, CostsItsOctetsAndAtMost200Bytes) {
    const kelp::test::RunningOrb orb;
    const CosNotification::StructuredEvent event = alarm();
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
