#include <gtest/gtest.h>
#include <kelp/agent/push_event.h>
#include <kelp/corbabase/supplier_mgr.h>

#include "event_fields.h"

namespace NS_KELPCORBA {
namespace {

TEST(PushEvent, GivesTheSupplierManagersResult) {
    CosNotification::StructuredEvent event;
    EXPECT_EQ(PushEvent(event), -1) << "there is no channel";
}

TEST(PushEvents, HandsOverAnEmptyListAndLeavesItUnchanged) {
    std::list<CosNotification::StructuredEvent> events;
    EXPECT_EQ(PushEvents(events), -1);
    events.resize(2);
    test::addField(events.front(), "emsTime") <<= "now";
    EXPECT_EQ(PushEvents(events), -1);
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events.front().filterable_data.length(), 1u);
    NS_CORBA::SuppilerMgr::Destroy();
}

}  // namespace
}  // namespace NS_KELPCORBA
