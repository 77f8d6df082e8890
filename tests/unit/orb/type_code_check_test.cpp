// TypeCodes in the parameters of a request. Each is the type of an any, followed by the value, or a
// nil sequence.

#include <gtest/gtest.h>

#include "checked_arguments.h"

namespace kelp::test {
namespace {

TypeWriter sequencesAround(std::size_t levels, bool littleEndian = true) {
    TypeWriter any(littleEndian);
    for (std::size_t i = 0; i < levels; ++i)
        any.openSequence();
    any.kind(tcLong);
    for (std::size_t i = 0; i < levels; ++i)
        any.closeWith(0);
    any.unsignedLong(0);
    return any;
}

/// Return nested structs of two members each, in which the second member is an indirection to the
/// first.
TypeWriter doubledStructs(std::size_t levels) {
    TypeWriter any;
    std::vector<std::size_t> firsts;
    any.openSequence();
    for (std::size_t i = 0; i < levels; ++i) {
        any.openStruct(2);
        any.text("");
        firsts.push_back(any.bytes().size() + (4 - any.bytes().size() % 4) % 4);
    }
    any.kind(tcAny);
    for (std::size_t i = levels; i-- > 0;)
        any.text("").indirection(firsts[i]).close();
    any.closeWith(0).unsignedLong(0);
    return any;
}

TEST(TypeCodeCheck, TypesWithinTheDepthLimitAreFine) {
    ArgumentLimits limits;
    limits.depthMax = 8;
    EXPECT_EQ(checkedAny(sequencesAround(7), limits), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(sequencesAround(8), limits), ArgumentVerdict::TooDeep);
}

TEST(TypeCodeCheck, SequencesNestedThousandsOfLevelsDeepAreTooDeep) {
    EXPECT_EQ(checkedAny(sequencesAround(5000)), ArgumentVerdict::TooDeep);
    EXPECT_EQ(checked("push", sequencesAround(5000, false).bytes(), {}, false),
              ArgumentVerdict::TooDeep);
}

TEST(TypeCodeCheck, BothByteOrdersAreRead) {
    EXPECT_EQ(checked("push", sequencesAround(3, false).bytes(), {}, false), ArgumentVerdict::Fine);
    EXPECT_EQ(checked("push", sequencesAround(3, true).bytes(), {}, true), ArgumentVerdict::Fine);
}

TEST(TypeCodeCheck, AnEncapsulationHasItsOwnByteOrder) {
    TypeWriter any(true);
    any.kind(tcSequence);
    // a sequence of long in an encapsulation with the other byte order
    any.unsignedLong(12).raw(std::string("\0\0\0\0\0\0\0\3\0\0\0\0", 12));
    any.unsignedLong(1).unsignedLong(7);
    EXPECT_EQ(checkedAny(any), ArgumentVerdict::Fine);
}

TEST(TypeCodeCheck, AByteOrderThatIsNoneIsMalformed) {
    TypeWriter any;
    any.kind(tcSequence);
    any.unsignedLong(12).raw(std::string("\2\0\0\0\3\0\0\0\0\0\0\0", 12)).unsignedLong(0);
    EXPECT_EQ(checkedAny(any), ArgumentVerdict::Malformed);
}

TEST(TypeCodeCheck, AFewOctetsThatStandForManyTypesAreTooMany) {
    EXPECT_EQ(checkedAny(doubledStructs(5)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(doubledStructs(30)), ArgumentVerdict::TooMany);
}

TEST(TypeCodeCheck, ManyMembersAreTooMany) {
    const auto withMembers = [](std::uint32_t members) {
        TypeWriter any;
        any.openStruct(members);
        for (std::uint32_t i = 0; i < members; ++i)
            any.text("").kind(tcOctet);
        any.close();
        return any.raw(std::string(members, '\0'));
    };
    ArgumentLimits limits;
    limits.typesMax = 100;
    EXPECT_EQ(checkedAny(withMembers(99), limits), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(withMembers(100), limits), ArgumentVerdict::TooMany);
}

TEST(TypeCodeCheck, ATypeOfManyOctetsIsTooLong) {
    const auto withName = [](std::size_t octets) {
        TypeWriter any;
        any.kind(tcReference);
        any.open().text("").text(std::string(octets, 'n')).close();
        return any.unsignedLong(1).octet(0).unsignedLong(0);
    };
    ArgumentLimits limits;
    limits.typeOctetsMax = 1000;
    EXPECT_EQ(checkedAny(withName(900), limits), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(withName(1000), limits), ArgumentVerdict::TooLong);
}

TEST(TypeCodeCheck, MemberCountsBeyondTheOctetsAreMalformed) {
    for (const Tc kind : {tcStruct, tcException, tcEnum}) {
        TypeWriter any;
        any.openNamed(kind);
        any.unsignedLong(0xffffffff).close();
        EXPECT_EQ(checkedAny(any), ArgumentVerdict::Malformed) << kind;
    }
}

TEST(TypeCodeCheck, LengthsBeyondTheMessageAreMalformed) {
    TypeWriter any;
    any.kind(tcStruct);
    any.unsignedLong(0xfffffff0);
    EXPECT_EQ(checkedAny(any), ArgumentVerdict::Malformed);
    TypeWriter named;
    named.kind(tcStruct);
    named.open().unsignedLong(0xffffffff).close();
    EXPECT_EQ(checkedAny(named), ArgumentVerdict::Malformed);
}

TEST(TypeCodeCheck, AnEncapsulationEndsWhereItSays) {
    TypeWriter any;
    any.kind(tcStruct);
    any.open().text("").close();
    any.text("").unsignedLong(0);
    EXPECT_EQ(checkedAny(any), ArgumentVerdict::Malformed);
}

TEST(TypeCodeCheck, NamesWithoutTheirZeroOctetAreMalformed) {
    TypeWriter any;
    any.kind(tcReference);
    any.open().unsignedLong(3).raw("abc").text("").close();
    EXPECT_EQ(checkedAny(any), ArgumentVerdict::Malformed);
    TypeWriter empty;
    empty.kind(tcReference);
    empty.open().unsignedLong(0).unsignedLong(0).close();
    EXPECT_EQ(checkedAny(empty), ArgumentVerdict::Malformed);
}

TEST(TypeCodeCheck, KindsThatHaveNoTypeAreMalformed) {
    for (const std::uint32_t kind : {std::uint32_t{tcNative}, 34u, 100u, 0xfffffffeu}) {
        TypeWriter any;
        any.openNamed(kind);
        any.close();
        EXPECT_EQ(checkedAny(any), ArgumentVerdict::Malformed) << kind;
    }
}

TEST(TypeCodeCheck, DigitsOfAFixedTypeAreAtMost31) {
    const auto fixed = [](unsigned digits, unsigned scale, std::size_t octets) {
        TypeWriter any;
        any.kind(tcFixed);
        return any.unsignedShort(digits).unsignedShort(scale).raw(std::string(octets, '\x0c'));
    };
    EXPECT_EQ(checkedAny(fixed(31, 5, 16)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(fixed(4, 4, 3)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(fixed(4, 4, 2)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(fixed(32, 0, 40000)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(fixed(0xffff, 0, 40000)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(fixed(0, 0, 1)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(fixed(4, 0xffff, 3)), ArgumentVerdict::Malformed);
}

TEST(TypeCodeCheck, ArraysHaveElements) {
    const auto array = [](std::uint32_t length) {
        TypeWriter any;
        any.kind(tcArray);
        any.open().kind(tcLong);
        return any.closeWith(length).unsignedLong(1).unsignedLong(2);
    };
    EXPECT_EQ(checkedAny(array(2)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(array(0)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(array(0xffffffff)), ArgumentVerdict::Malformed);
}

/// Return struct Node { sequence<Node> children; }, or the same with another kind in place of the
/// sequence.
TypeWriter recursive(std::uint32_t kind) {
    TypeWriter any;
    const std::size_t node = any.openStruct(1);
    any.text("");
    any.kind(kind);
    any.open().indirection(node).closeWith(1).close();
    return any;
}

TEST(TypeCodeCheck, RecursionThroughASequenceIsFine) {
    // a node with two children, the first of which has one child
    EXPECT_EQ(
        checkedAny(
            recursive(tcSequence).unsignedLong(2).unsignedLong(1).unsignedLong(0).unsignedLong(0)),
        ArgumentVerdict::Fine);
}

TEST(TypeCodeCheck, RecursiveValuesAreLimitedInDepth) {
    TypeWriter any = recursive(tcSequence);
    for (int i = 0; i < 1000; ++i)
        any.unsignedLong(1);
    EXPECT_EQ(checkedAny(any.unsignedLong(0)), ArgumentVerdict::TooDeep);
}

TEST(TypeCodeCheck, RecursionWithoutASequenceIsMalformed) {
    EXPECT_EQ(checkedAny(recursive(tcArray)), ArgumentVerdict::Malformed);
    TypeWriter direct;
    const std::size_t node = direct.openStruct(1);
    direct.text("").indirection(node).close();
    EXPECT_EQ(checkedAny(direct), ArgumentVerdict::Malformed);
    TypeWriter alias;
    const std::size_t itself = alias.openNamed(tcAlias);
    alias.indirection(itself).close();
    EXPECT_EQ(checkedAny(alias), ArgumentVerdict::Malformed);
    TypeWriter sequence;
    const std::size_t own = sequence.openSequence();
    sequence.indirection(own).closeWith(0).unsignedLong(0);
    EXPECT_EQ(checkedAny(sequence), ArgumentVerdict::Malformed);
}

TEST(TypeCodeCheck, IndirectionsLeadBackToTypes) {
    const auto leadingTo = [](std::size_t from) {
        TypeWriter any;
        any.openStruct(2);
        any.text("").kind(tcLong);
        any.text("").indirection(from).close();
        return any.unsignedLong(1).unsignedLong(2);
    };
    // position 40 is after the struct's kind, length, byte order, two names, count and the first
    // member's name
    EXPECT_EQ(checkedAny(leadingTo(40)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(leadingTo(41)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(leadingTo(36)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(leadingTo(52)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(leadingTo(400)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(leadingTo(static_cast<std::size_t>(-400))), ArgumentVerdict::Malformed);
    TypeWriter outermost;
    outermost.indirection(0);
    EXPECT_EQ(checkedAny(outermost), ArgumentVerdict::Malformed);
}

TEST(TypeCodeCheck, AnIndirectionIntoTheTypeOfAnotherAnyIsMalformed) {
    TypeWriter events;
    events.unsignedLong(2);
    const auto property = [&] { return events.text("name"), events.bytes().size(); };
    (void)property();
    const std::size_t first = events.kind(tcLong);
    events.unsignedLong(1);
    (void)property();
    events.indirection(first).unsignedLong(2);
    EXPECT_EQ(checked("set_qos", events.bytes()), ArgumentVerdict::Malformed);
}

/// struct { Node node; X second; } where X leads to the sequence within Node, which has already
/// ended.
TEST(TypeCodeCheck, PartsOfARecursiveTypeAreNotRepeatedOutsideIt) {
    TypeWriter any;
    any.openStruct(2);
    any.text("");
    const std::size_t node = any.openStruct(1);
    any.text("");
    const std::size_t children = any.openSequence();
    any.indirection(node).closeWith(0).close();
    any.text("").indirection(children).close();
    EXPECT_EQ(checkedAny(any.unsignedLong(0).unsignedLong(0)), ArgumentVerdict::TooMany);
}

/// struct Node { sequence<Node> left; the same again right; }
TEST(TypeCodeCheck, PartsOfARecursiveTypeMayBeRepeatedWithinIt) {
    TypeWriter any;
    const std::size_t node = any.openStruct(2);
    any.text("");
    const std::size_t children = any.openSequence();
    any.indirection(node).closeWith(0);
    any.text("").indirection(children).close();
    EXPECT_EQ(checkedAny(any.unsignedLong(0).unsignedLong(0)), ArgumentVerdict::Fine);
}

TypeWriter unionType(std::uint32_t discriminator, std::int32_t defaultIndex) {
    TypeWriter any;
    any.openNamed(tcUnion);
    any.kind(discriminator);
    any.unsignedLong(static_cast<std::uint32_t>(defaultIndex)).unsignedLong(2);
    for (unsigned label = 0; label < 2; ++label) {
        if (discriminator == tcLong)
            any.unsignedLong(label);
        else
            any.octet(label);
        any.text("").kind(label == 0 ? tcOctet : tcString);
        if (label != 0)
            any.unsignedLong(0);
    }
    any.close();
    return any;
}

TEST(TypeCodeCheck, TheDefaultOfAUnionIsOneOfItsMembers) {
    EXPECT_EQ(checkedAny(unionType(tcLong, -1).unsignedLong(1).text("chosen")),
              ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(unionType(tcLong, -1).unsignedLong(5)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(unionType(tcLong, 1).unsignedLong(5).text("default")),
              ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(unionType(tcLong, 1).unsignedLong(5)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(unionType(tcLong, 2).unsignedLong(5).text("none")),
              ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(unionType(tcLong, 0x7fffffff).unsignedLong(5)),
              ArgumentVerdict::Malformed);
}

TEST(TypeCodeCheck, UnionsAreSwitchedByWhatIdlAllows) {
    EXPECT_EQ(checkedAny(unionType(tcBoolean, -1).octet(0).octet(1)), ArgumentVerdict::Fine);
    EXPECT_EQ(checkedAny(unionType(tcChar, -1).octet(0).octet(1)), ArgumentVerdict::Fine);
    for (const Tc kind : {tcFloat, tcString, tcAny, tcWChar, tcVoid})
        EXPECT_EQ(checkedAny(unionType(kind, -1).unsignedLong(0).unsignedLong(0)),
                  ArgumentVerdict::Malformed)
            << kind;
}

/// The ORB takes any octet other than 0 for true. Another octet would choose a member that the
/// check does not see.
TEST(TypeCodeCheck, BooleansAndCharactersSelectOnlyAsTheyAreWritten) {
    EXPECT_EQ(checkedAny(unionType(tcBoolean, -1).octet(2)), ArgumentVerdict::Malformed);
    EXPECT_EQ(checkedAny(unionType(tcChar, -1).octet(0x80)), ArgumentVerdict::Malformed);
    TypeWriter label;
    label.openNamed(tcUnion);
    label.kind(tcBoolean);
    label.unsignedLong(0xffffffff).unsignedLong(1).octet(2).text("").kind(tcAny);
    label.close().octet(1);
    EXPECT_EQ(checkedAny(label), ArgumentVerdict::Malformed);
}

TEST(TypeCodeCheck, TypesWithoutAValueAreReadToTheirEnd) {
    TypeWriter sequence;
    sequence.openSequence();
    sequence.openNamed(tcValue);
    sequence.unsignedShort(0).kind(tcNull);
    sequence.unsignedLong(1).text("next").kind(tcLong);
    sequence.unsignedShort(1).close().closeWith(0).unsignedLong(1).unsignedLong(0);
    EXPECT_EQ(checkedAny(sequence), ArgumentVerdict::Fine);
    TypeWriter box;
    box.openNamed(tcValueBox);
    box.kind(tcString);
    box.unsignedLong(0).close().unsignedLong(0);
    EXPECT_EQ(checkedAny(box), ArgumentVerdict::Fine);
}

TEST(TypeCodeCheck, TheBaseOfAValuetypeIsAValuetype) {
    TypeWriter any;
    any.openNamed(tcValue);
    any.unsignedShort(0).kind(tcLong);
    any.unsignedLong(0).close().unsignedLong(0);
    EXPECT_EQ(checkedAny(any), ArgumentVerdict::Malformed);
}

}  // namespace
}  // namespace kelp::test
