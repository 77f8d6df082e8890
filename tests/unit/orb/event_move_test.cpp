#include <gtest/gtest.h>
#include <kelp/orb/event_move.h>

#include <array>

namespace kelp::orb {
namespace {

using CosNotification::StructuredEvent;

void add(CosNotification::PropertySeq& properties, const char* name, CORBA::Long value) {
    const CORBA::ULong at = properties.length();
    properties.length(at + 1);
    properties[at].name = CORBA::string_dup(name);
    properties[at].value <<= value;
}

CORBA::Long valueOf(const CORBA::Any& any) {
    CORBA::Long value = 0;
    EXPECT_TRUE(any >>= value);
    return value;
}

StructuredEvent event() {
    StructuredEvent made;
    made.header.fixed_header.event_type.domain_name = CORBA::string_dup("domain");
    made.header.fixed_header.event_type.type_name = CORBA::string_dup("type");
    made.header.fixed_header.event_name = CORBA::string_dup("name");
    add(made.header.variable_header, "header", 1);
    add(made.filterable_data, "data", 2);
    add(made.filterable_data, "more data", 3);
    made.remainder_of_body <<= CORBA::Long(4);
    return made;
}

void expectWhole(const StructuredEvent& event) {
    EXPECT_STREQ(event.header.fixed_header.event_type.domain_name.in(), "domain");
    EXPECT_STREQ(event.header.fixed_header.event_type.type_name.in(), "type");
    EXPECT_STREQ(event.header.fixed_header.event_name.in(), "name");
    ASSERT_EQ(event.header.variable_header.length(), 1u);
    EXPECT_EQ(valueOf(event.header.variable_header[0].value), 1);
    ASSERT_EQ(event.filterable_data.length(), 2u);
    EXPECT_STREQ(event.filterable_data[1].name.in(), "more data");
    EXPECT_EQ(valueOf(event.filterable_data[1].value), 3);
    EXPECT_EQ(valueOf(event.remainder_of_body), 4);
}

TEST(MoveEvent, MovesTheWholeContentWithoutACopy) {
    StructuredEvent from = event();
    const StructuredEvent& source = from;
    const char* const name = source.header.fixed_header.event_name.in();
    const CosNotification::Property* const data = source.filterable_data.get_buffer();
    StructuredEvent to;
    moveEvent(from, to);
    expectWhole(to);
    const StructuredEvent& target = to;
    EXPECT_EQ(target.header.fixed_header.event_name.in(), name);
    EXPECT_EQ(target.filterable_data.get_buffer(), data);
}

TEST(MoveEvent, LeavesAnEventThatMayBeUsedAgain) {
    StructuredEvent from = event();
    StructuredEvent to;
    moveEvent(from, to);
    from = event();
    expectWhole(from);
    expectWhole(to);
}

TEST(MoveEvent, ReplacesWhatTheOtherEventHeld) {
    StructuredEvent from = event();
    StructuredEvent to = event();
    to.header.fixed_header.event_name = CORBA::string_dup("other");
    add(to.filterable_data, "other", 5);
    moveEvent(from, to);
    expectWhole(to);
}

TEST(MoveEvent, CopiesPropertiesThatTheEventDoesNotOwn) {
    StructuredEvent from = event();
    std::array<CosNotification::Property, 2> lent{from.filterable_data[0], from.filterable_data[1]};
    from.filterable_data.replace(2, 2, lent.data(), false);
    StructuredEvent to;
    moveEvent(from, to);
    expectWhole(to);
    const StructuredEvent& target = to;
    EXPECT_NE(target.filterable_data.get_buffer(), lent.data());
}

}  // namespace
}  // namespace kelp::orb
