#include "events/ne_time.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/orb_fixture.h"

namespace NS_CORBA {
namespace {

constexpr const char* kEmsTime = "20240105030405.0Z";
constexpr const char* kNeTime = "20240105030404.0Z";

CosNotification::StructuredEvent eventOf(const char* type, const char* domain = "tmf_mtnm") {
    CosNotification::StructuredEvent event;
    event.header.fixed_header.event_type.domain_name = CORBA::string_dup(domain);
    event.header.fixed_header.event_type.type_name = CORBA::string_dup(type);
    return event;
}

void add(CosNotification::StructuredEvent& event, const char* name, const char* value) {
    CosNotification::PropertySeq& fields = event.filterable_data;
    fields.length(fields.length() + 1);
    fields[fields.length() - 1].name = CORBA::string_dup(name);
    fields[fields.length() - 1].value <<= value;
}

/// Return the event's neTime; "none" if it has none, "no text" if it is not a text.
std::string neTimeOf(const CosNotification::StructuredEvent& event) {
    std::string found = "none";
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i) {
        const CosNotification::Property& field = event.filterable_data[i];
        if (std::strcmp(field.name, "neTime") != 0)
            continue;
        EXPECT_EQ(found, "none") << "there are two";
        const char* text = nullptr;
        found = (field.value >>= text) ? text : "no text";
    }
    return found;
}

class NeTime : public testing::Test {
  private:
    kelp::test::RunningOrb orb_;
};

TEST_F(NeTime, IsTheEmsTimeWhenTheSourceGivesNone) {
    for (const char* type : {"NT_ALARM", "NT_TCA", "NT_OBJECT_CREATION", "NT_STATE_CHANGE"}) {
        CosNotification::StructuredEvent event = eventOf(type);
        add(event, "emsTime", kEmsTime);
        fillNeTime(event);
        EXPECT_EQ(neTimeOf(event), kEmsTime) << type;
    }
}

TEST_F(NeTime, IsTheEmsTimeWhenTheSourceGivesAnEmptyOne) {
    CosNotification::StructuredEvent event = eventOf("NT_ALARM");
    add(event, "neTime", "");
    add(event, "emsTime", kEmsTime);
    fillNeTime(event);
    EXPECT_EQ(neTimeOf(event), kEmsTime);
    EXPECT_EQ(event.filterable_data.length(), 2u);
}

TEST_F(NeTime, OfTheSourceIsKept) {
    CosNotification::StructuredEvent event = eventOf("NT_ALARM");
    add(event, "emsTime", kEmsTime);
    add(event, "neTime", kNeTime);
    fillNeTime(event);
    EXPECT_EQ(neTimeOf(event), kNeTime);
}

TEST_F(NeTime, OfAnotherTypeIsLeftUnchanged) {
    CosNotification::StructuredEvent event = eventOf("NT_ALARM");
    add(event, "emsTime", kEmsTime);
    add(event, "neTime", "");
    event.filterable_data[1].value <<= CORBA::Long(7);
    fillNeTime(event);
    EXPECT_EQ(neTimeOf(event), "no text");
}

TEST_F(NeTime, IsGivenToNoHeartbeatAndToNoEventOfAnotherDomain) {
    for (CosNotification::StructuredEvent event :
         {eventOf("NT_HEARTBEAT"), eventOf("NT_ALARM", "acme")}) {
        add(event, "emsTime", kEmsTime);
        fillNeTime(event);
        EXPECT_EQ(neTimeOf(event), "none");
    }
}

TEST_F(NeTime, NeedsAnEmsTime) {
    CosNotification::StructuredEvent event = eventOf("NT_ALARM");
    fillNeTime(event);
    EXPECT_EQ(neTimeOf(event), "none");
    add(event, "emsTime", "");
    fillNeTime(event);
    EXPECT_EQ(neTimeOf(event), "none");
}

}  // namespace
}  // namespace NS_CORBA
