// The parts of encoded structured events, in octets that no ORB has checked.

#include "giop/events/event_scan.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "hand_made_types.h"

namespace kelp::test {
namespace {

using orb::giop::EventMap;
using orb::giop::EventScan;
using orb::giop::KnownTypes;
using Verdict = EventScan::Verdict;

EventScan::Octets octetsOf(const std::string& bytes) {
    return {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()};
}

Verdict scanned(const std::string& bytes, EventMap& map, const KnownTypes& types = {},
                std::size_t at = 0) {
    return EventScan(octetsOf(bytes), at, types, map).run();
}

/// Begin an event with names of different lengths and no variable header.
TypeWriter eventOf(std::uint32_t properties) {
    TypeWriter event;
    event.text("domain").text("type").text("").unsignedLong(0).unsignedLong(properties);
    return event;
}

/// A struct of a string and a double.
TypeWriter structType() {
    TypeWriter type;
    type.openStruct(2);
    type.text("first").unsignedLong(tcString).unsignedLong(0);
    type.text("second").unsignedLong(tcDouble).close();
    return type;
}

TEST(EventScan, FindsThePartsOfAnEvent) {
    TypeWriter event = eventOf(2);
    const std::size_t first = event.bytes().size();
    event.text("a").unsignedLong(tcLong).unsignedLong(7);
    const std::size_t second = event.bytes().size();
    event.text("name").unsignedLong(tcBoolean).octet(1);
    event.unsignedLong(tcNull);
    EventMap map;
    ASSERT_EQ(scanned(event.bytes() + "more", map), Verdict::Fine);
    EXPECT_EQ(map.end, event.bytes().size());
    EXPECT_EQ(map.firstEight, EventMap::kNowhere);
    EXPECT_TRUE(map.isPlain);
    EXPECT_EQ(map.marks,
              (std::vector<std::size_t>{first - 4, first, second, event.bytes().size() - 4}));
}

TEST(EventScan, FindsTheFirstValueThatIsAlignedToEight) {
    TypeWriter event = eventOf(1);
    event.text("a").unsignedLong(tcDouble);
    const std::size_t before = event.bytes().size();
    event.number(1, 8).unsignedLong(tcNull);
    EventMap map;
    ASSERT_EQ(scanned(event.bytes(), map), Verdict::Fine);
    EXPECT_EQ(map.firstEight, before);
}

TEST(EventScan, ReportsATypeUntilItIsKnown) {
    TypeWriter event = eventOf(1);
    event.text("abc");  // the type begins behind it without padding
    event.raw(structType().bytes()).text("x").number(0, 8).unsignedLong(tcNull);
    EventMap map;
    KnownTypes types;
    ASSERT_EQ(scanned(event.bytes(), map, types), Verdict::UnknownType);
    EXPECT_EQ(std::string(map.typeCode.begin(), map.typeCode.end()), structType().bytes());
    ASSERT_TRUE(types.learn(map.typeCode));
    EXPECT_EQ(scanned(event.bytes(), map, types), Verdict::Fine);
    EXPECT_TRUE(map.isPlain);
}

TEST(EventScan, KnowsATypeWhateverItsPaddingContains) {
    KnownTypes types;
    ASSERT_TRUE(types.learn(octetsOf(structType().bytes())));
    std::string type = structType().bytes();
    type[9] = type[10] = type[11] = 'x';  // behind the byte order of the encapsulation
    TypeWriter event = eventOf(1);
    event.text("abc").raw(type).text("x").number(0, 8).unsignedLong(tcNull);
    EventMap map;
    EXPECT_EQ(scanned(event.bytes(), map, types), Verdict::Fine);
}

TEST(EventScan, IsNotPlainWithTextsThatNeedACodeSet) {
    TypeWriter event = eventOf(1);
    event.text("a").unsignedLong(tcString).unsignedLong(0).text("\xc3\xa4").unsignedLong(tcNull);
    EventMap map;
    ASSERT_EQ(scanned(event.bytes(), map), Verdict::Fine);
    EXPECT_FALSE(map.isPlain);
}

TEST(EventScan, RefusesNamesThatNeedACodeSet) {
    TypeWriter event = eventOf(1);
    event.text("\xc3\xa4").unsignedLong(tcLong).unsignedLong(0).unsignedLong(tcNull);
    EventMap map;
    EXPECT_EQ(scanned(event.bytes(), map), Verdict::Refused);
}

TEST(EventScan, RefusesTextsThatTheOrbMightNotAccept) {
    for (const std::string& text : {std::string("\0\0\0\0", 4), std::string("\2\0\0\0ab", 6),
                                    std::string("\3\0\0\0a\0\0", 7)}) {
        TypeWriter event = eventOf(1);
        event.text("a").unsignedLong(tcString).unsignedLong(0).raw(text);
        event.unsignedLong(tcNull);
        EventMap map;
        EXPECT_EQ(scanned(event.bytes(), map), Verdict::Refused);
    }
}

TEST(EventScan, RefusesAnysThatAreNestedTooDeeply) {
    TypeWriter event = eventOf(1);
    event.text("a");
    for (int i = 0; i < 100; ++i)
        event.unsignedLong(tcAny);
    event.unsignedLong(tcNull).unsignedLong(tcNull);
    EventMap map;
    EXPECT_EQ(scanned(event.bytes(), map), Verdict::Refused);
}

/// A sequence of structs without members takes no octets, whatever its length.
TEST(EventScan, LimitsItsWork) {
    TypeWriter type;
    type.kind(tcSequence);
    type.open();
    type.kind(tcArray);
    type.open();
    type.openStruct(0);
    type.close();
    type.unsignedLong(0x7fffffff).close();
    type.unsignedLong(0).close();
    KnownTypes types;
    ASSERT_TRUE(types.learn(octetsOf(type.bytes())));
    TypeWriter event = eventOf(1);
    event.text("abc").raw(type.bytes()).unsignedLong(4).unsignedLong(tcNull);
    EventMap map;
    EXPECT_EQ(scanned(event.bytes(), map, types), Verdict::Refused);
}

TEST(EventScan, StaysWithinTheOctetsWhateverTheyAre) {
    KnownTypes types;
    ASSERT_TRUE(types.learn(octetsOf(structType().bytes())));
    TypeWriter event;
    event.text("domain").text("type").text("event").unsignedLong(1);
    event.text("Priority").unsignedLong(tcShort).unsignedShort(4);
    event.unsignedLong(3).text("a").unsignedLong(tcDouble).number(1, 8);
    event.text("abc").raw(structType().bytes()).text("x").number(0, 8);
    event.text("c").unsignedLong(tcAny).unsignedLong(tcString).unsignedLong(0).text("text");
    event.unsignedLong(tcNull);
    EventMap map;
    ASSERT_EQ(scanned(event.bytes(), map, types), Verdict::Fine);
    for (std::size_t size = 0; size < event.bytes().size(); ++size) {
        // a copy of this size, so that the sanitizer sees a read beyond it
        const std::string part(event.bytes().data(), size);
        const std::vector<std::uint8_t> exact(part.begin(), part.end());
        EXPECT_NE(EventScan(exact, 0, types, map).run(), Verdict::Fine) << size;
    }
    std::mt19937 random(1);
    int fine = 0;
    for (int i = 0; i < 20000; ++i) {
        std::vector<std::uint8_t> changed(event.bytes().begin(), event.bytes().end());
        for (std::size_t changes = 1 + random() % 3; changes > 0; --changes)
            changed[random() % changed.size()] = static_cast<std::uint8_t>(random() % 40);
        if (EventScan(changed, 0, types, map).run() != Verdict::Fine)
            continue;
        ++fine;
        ASSERT_LE(map.end, changed.size());
        for (const std::size_t mark : map.marks)
            ASSERT_LT(mark, map.end);
        for (const orb::giop::Padding& each : map.paddings)
            ASSERT_LE(each.at + each.octets, map.end);
    }
    EXPECT_GT(fine, 1000);
}

TEST(KnownTypes, AreForgottenWhenThereAreTooMany) {
    KnownTypes types;
    for (std::uint32_t i = 1; i <= 10000; ++i) {
        TypeWriter type;
        type.openSequence();
        type.kind(tcLong);
        type.closeWith(i);
        ASSERT_TRUE(types.learn(octetsOf(type.bytes())));
        ASSERT_NE(types.find(octetsOf(type.bytes())), nullptr);
        ASSERT_LE(types.size(), 256u);
    }
}

TEST(KnownTypes, AreTypeCodesOnly) {
    KnownTypes types;
    const std::string whole = structType().bytes();
    EXPECT_FALSE(types.learn(octetsOf(whole.substr(0, whole.size() - 1))));
    EXPECT_FALSE(types.learn(octetsOf(whole + std::string(4, '\0'))));
    EXPECT_FALSE(types.learn({}));
    EXPECT_EQ(types.size(), 0u);
}

}  // namespace
}  // namespace kelp::test
