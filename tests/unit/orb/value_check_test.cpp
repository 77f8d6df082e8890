// Values in the parameters of a request, and the operations with such parameters.

#include <gtest/gtest.h>

#include "checked_arguments.h"
#include "giop/arguments/operation_shapes.h"

namespace kelp::test {
namespace {

TypeWriter anyOf(std::uint32_t kind) {
    TypeWriter any;
    any.kind(kind);
    return any;
}

TypeWriter anysAround(std::size_t levels) {
    TypeWriter any;
    for (std::size_t i = 0; i < levels; ++i)
        any.kind(tcAny);
    any.kind(tcLong);
    return any.unsignedLong(1);
}

TEST(ValueCheck, AnOperationWithoutAnysIsNotChecked) {
    EXPECT_EQ(checked("getEmsSession", "\xff\xff\xff"), ArgumentVerdict::Fine);
    EXPECT_EQ(checked("", ""), ArgumentVerdict::Fine);
    EXPECT_EQ(checked("pus", ""), ArgumentVerdict::Fine);
    EXPECT_EQ(checked("pushx", ""), ArgumentVerdict::Fine);
}

TEST(ValueCheck, TheOperationsOfTheEventServiceAreInTheTable) {
    for (const char* operation :
         {"push", "push_structured_event", "push_structured_events", "set_qos", "validate_qos",
          "validate_event_qos", "set_admin", "match", "match_structured", "match_typed",
          "create_channel", "create_mapping_filter", "add_mapping_constraints",
          "modify_mapping_constraints"})
        EXPECT_TRUE(orb::giop::parametersOf(operation)) << operation;
    EXPECT_FALSE(orb::giop::parametersOf("add_constraints"));
}

TEST(ValueCheck, ABodyThatIsMissingIsMalformed) {
    EXPECT_EQ(checked("push", ""), ArgumentVerdict::Malformed);
    EXPECT_EQ(orb::giop::checkArguments("push", {{}, 100, true, 2, {}}),
              ArgumentVerdict::Malformed);
}

TEST(ValueCheck, AnysNestedWithinTheLimitAreFine) {
    EXPECT_EQ(checkedAny(anysAround(7)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(anysAround(8)), ArgumentVerdict::TooDeep);
    EXPECT_EQ(checkedAny(anysAround(5000)), ArgumentVerdict::TooDeep);
}

/// The ORB decodes each any twice, so it decodes an any inside it four times, and so on.
TEST(ValueCheck, WorkDoublesWithEachAnyAround) {
    TypeWriter deep;
    for (int i = 0; i < 7; ++i)
        deep.kind(tcAny);
    deep.openSequence();
    deep.kind(tcString);
    deep.unsignedLong(0).closeWith(0).unsignedLong(10000);
    for (int i = 0; i < 10000; ++i)
        deep.unsignedLong(1).octet(0);
    ArgumentLimits limits;
    EXPECT_EQ(checkedAny(deep, limits), ArgumentVerdict::TooMany);
    limits.workPerOctet = 200;
    EXPECT_EQ(checkedAny(deep, limits), ArgumentVerdict::Fine);
}

TEST(ValueCheck, SimpleValuesEndWhereTheirTypeSays) {
    EXPECT_EQ(checkedAny(anyOf(tcNull)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(anyOf(tcShort).unsignedShort(1)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(anyOf(tcShort).octet(1)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(anyOf(tcDouble).number(1, 8)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(anyOf(tcDouble).number(1, 4)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(anyOf(tcLongDouble).number(1, 8).number(1, 8)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(anyOf(tcLongDouble).number(1, 8)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(anyOf(tcString).unsignedLong(0).text("text")), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(anyOf(tcString).unsignedLong(0).unsignedLong(100)),
              ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(anyOf(tcPrincipal).unsignedLong(3).raw("abc")), ArgumentVerdict::Fine);
}

TEST(ValueCheck, WideCharactersAreCountedInOctets) {
    EXPECT_EQ(checkedAny(anyOf(tcWChar).octet(2).raw("ab")), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(anyOf(tcWChar).octet(3).raw("ab")), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(anyOf(tcWString).unsignedLong(0).unsignedLong(4).raw("abcd")),
              ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(anyOf(tcWString).unsignedLong(0).unsignedLong(0xfffffffe).raw("abcd")),
              ArgumentVerdict::Malformed);
}

TEST(ValueCheck, WideCharactersAreOfGiop12) {
    const std::string text = anyOf(tcWString).unsignedLong(0).unsignedLong(0).bytes();
    EXPECT_EQ(checked("push", text, {}, true, 2), ArgumentVerdict::Fine);
    EXPECT_EQ(checked("push", text, {}, true, 1), ArgumentVerdict::Malformed);
}

TEST(ValueCheck, SequencesHaveAnElementForEachOfTheirLength) {
    const auto sequence = [](std::uint32_t kind, std::uint32_t length) {
        TypeWriter any;
        any.openSequence();
        any.kind(kind);
        return any.closeWith(0).unsignedLong(length);
    };
    EXPECT_EQ(checkedAny(sequence(tcLong, 2).unsignedLong(1).unsignedLong(2)),
              ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(sequence(tcLong, 2).unsignedLong(1)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(sequence(tcVoid, 0xffffffff)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(sequence(tcAny, 0xffffffff)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(sequence(tcLong, 0x40000001).unsignedLong(0)), ArgumentVerdict::Malformed);
    // an empty sequence is not aligned to its elements
    EXPECT_EQ(checkedAny(sequence(tcDouble, 0)), ArgumentVerdict::Fine);
}

/// 2^32 - 1 arrays of 2^32 - 1 elements each, none of which takes an octet.
TEST(ValueCheck, ElementsThatTakeNoOctetsAreWork) {
    TypeWriter any;
    any.kind(tcArray);
    any.open().kind(tcArray);
    any.open().openNamed(tcAlias);
    any.kind(tcVoid);
    any.close().closeWith(0xffffffff).closeWith(0xffffffff);
    EXPECT_EQ(checkedAny(any), ArgumentVerdict::TooMany);
    TypeWriter structs;
    structs.kind(tcArray);
    structs.open().openStruct(0);
    structs.close().closeWith(0xffffffff);
    EXPECT_EQ(checkedAny(structs), ArgumentVerdict::TooMany);
}

TEST(ValueCheck, LookingForAMemberOfALongUnionIsWork) {
    constexpr std::uint32_t members = 1000;
    TypeWriter any;
    any.openSequence();
    any.openNamed(tcUnion);
    any.kind(tcLong);
    any.unsignedLong(0xffffffff).unsignedLong(members);
    for (std::uint32_t i = 0; i < members; ++i)
        any.unsignedLong(i).text("").kind(tcVoid);
    any.close().closeWith(0).unsignedLong(100000);
    for (int i = 0; i < 100000; ++i)
        any.unsignedLong(members);
    EXPECT_EQ(checkedAny(any), ArgumentVerdict::TooMany);
}

TEST(ValueCheck, TheTypeOfATypeCodeIsCheckedAsWell) {
    TypeWriter any = anyOf(tcTypeCode);
    for (int i = 0; i < 100; ++i)
        any.openSequence();
    any.kind(tcLong);
    for (int i = 0; i < 100; ++i)
        any.closeWith(0);
    EXPECT_EQ(checkedAny(any), ArgumentVerdict::TooDeep);
    TypeWriter simple = anyOf(tcTypeCode);
    simple.kind(tcLong);
    EXPECT_EQ(checkedAny(simple), ArgumentVerdict::Fine);
}

TEST(ValueCheck, ReferencesHaveTheProfilesTheyCount) {
    const auto reference = [] {
        TypeWriter any;
        any.openNamed(tcReference);
        return any.close();
    };
    EXPECT_EQ(checkedAny(reference()
                             .text("IDL:T:1.0")
                             .unsignedLong(1)
                             .unsignedLong(0)
                             .unsignedLong(3)
                             .raw("abc")),
              ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(reference().unsignedLong(0).unsignedLong(0)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(reference().text("").unsignedLong(0xffffffff)),
              ArgumentVerdict::Malformed);
}

TEST(ValueCheck, ValuetypesAreNil) {
    const auto valueBox = [] {
        TypeWriter any;
        any.openNamed(tcValueBox);
        any.kind(tcLong);
        return any.close();
    };
    EXPECT_EQ(checkedAny(valueBox().unsignedLong(0)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(valueBox().unsignedLong(0x7fffff00).unsignedLong(1)),
              ArgumentVerdict::Malformed);
    const auto interface = [] {
        TypeWriter any;
        any.openNamed(tcAbstractInterface);
        return any.close();
    };
    EXPECT_EQ(checkedAny(interface().octet(0).unsignedLong(0)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(interface().octet(1).text("").unsignedLong(0)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(interface().octet(0).unsignedLong(0x7fffff00)),
              ArgumentVerdict::Malformed);
    TypeWriter local;
    local.openNamed(tcLocalInterface);
    local.close();
    EXPECT_EQ(checkedAny(local.unsignedLong(0).unsignedLong(0)), ArgumentVerdict::Malformed);
}

TEST(ValueCheck, ParametersAfterAnAnyAreReadAsWell) {
    const auto mapping = [](const std::string& grammar) {
        TypeWriter body;
        body.text(grammar).kind(tcLong);
        return body.unsignedLong(1).bytes();
    };
    EXPECT_EQ(checked("create_mapping_filter", mapping("EXTENDED_TCL")), ArgumentVerdict::Fine);
    EXPECT_EQ(checked("create_mapping_filter", mapping("EXTENDED_TCL").substr(0, 24)),
              ArgumentVerdict::Malformed);
}

TEST(ValueCheck, OctetsAfterTheParametersDoNotMatter) {
    EXPECT_EQ(checkedAny(anyOf(tcLong).unsignedLong(1).raw("whatever")), ArgumentVerdict::Fine);
}

/// GIOP 1.1 aligns the content of a fragment from the fragment's header, so the 8 octets begin 4
/// octets after the header.
TEST(ValueCheck, AlignmentBeginsAnewInAFragmentOfGiop11) {
    const std::string message =
        std::string(20, '\0') + anyOf(tcDouble).bytes() + std::string(4, '\0') + "8 octets";
    const std::span<const std::uint8_t> octets(
        reinterpret_cast<const std::uint8_t*>(message.data()), message.size());
    const auto checkedWith = [&](std::size_t size, std::span<const std::size_t> fragments) {
        return orb::giop::checkArguments("push", {octets.first(size), 20, true, 1, fragments});
    };
    const std::size_t atTheValue[] = {24};
    EXPECT_EQ(checkedWith(36, atTheValue), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedWith(35, atTheValue), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedWith(32, {}), ArgumentVerdict::Fine);
    const std::size_t behindIt[] = {32};
    EXPECT_EQ(checkedWith(32, behindIt), ArgumentVerdict::Fine);
}

TEST(ValueCheck, PaddingAtTheEndOfAFragmentIsFollowedByMoreInTheNext) {
    const std::string message =
        std::string(16, '\0') + anyOf(tcDouble).bytes() + std::string(8, '\0') + "8 octets";
    const std::span<const std::uint8_t> octets(
        reinterpret_cast<const std::uint8_t*>(message.data()), message.size());
    const std::size_t fragments[] = {24};
    const auto checkedUpTo = [&](std::size_t size) {
        return orb::giop::checkArguments("push", {octets.first(size), 16, true, 1, fragments});
    };
    EXPECT_EQ(checkedUpTo(36), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedUpTo(35), ArgumentVerdict::Malformed);
}

TEST(ValueCheck, EveryBeginningOfAGoodBodyIsMalformed) {
    TypeWriter body;
    body.unsignedLong(2);
    body.text("PacingInterval").kind(tcLongLong);
    body.number(5, 8).text("EventReliability").kind(tcShort);
    body.unsignedShort(1);
    const std::string bytes = body.bytes();
    EXPECT_EQ(checked("set_qos", bytes), ArgumentVerdict::Fine);
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_EQ(checked("set_qos", bytes.substr(0, length)), ArgumentVerdict::Malformed)
            << length;
}

}  // namespace
}  // namespace kelp::test
