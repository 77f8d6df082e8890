// The encoded form of a row as it is stored: the structure in CDR, its check, and its header.

#include "encoded/encoded_form.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace kelp::test {
namespace {

using namespace inventory;
using namespace std::string_literals;

TerminationPoint port() {
    TerminationPoint row;
    row.name = {"A", TpKind::Ptp, "/shelf=1/port=1", ""};
    row.userLabel = "to Berlin";
    row.nativeEMSName = "1-1";
    row.ingressTrafficDescriptorName = "gold";
    row.transmissionParams = {{22, {{"Trace", "x"}}}, {47, {}}};
    row.edgePoint = true;
    row.additionalInfo = {{"key", "value"}};
    return row;
}

template <class Row>
std::string completeOf(const Row& row, const std::string& ems = "Kelp/EMS") {
    Structure structure;
    encode(row, structure);
    std::string octets;
    appendWithEms(structure.octets, structure.emsAt, encodedEms(ems), octets);
    return octets;
}

std::string storedOf(const TerminationPoint& row) {
    Structure structure;
    encode(row, structure);
    return storedForm(structure);
}

TEST(EncodedStructure, StartsWithTheNameAndTheEmsInItsPlace) {
    ManagedElement row;
    row.name = "A";
    std::string expected;
    CdrWriter writer(expected);
    writer.number(2);
    writer.text("EMS");
    writer.text("E1");
    writer.text("ManagedElement");
    writer.text("A");
    EXPECT_EQ(completeOf(row, "E1").substr(0, expected.size()), expected);
}

TEST(EncodedStructure, OfEachKindPassesItsOwnCheckOnly) {
    ManagedElement element;
    element.name = "A";
    element.supportedRates = {15, 11, 47};
    EXPECT_TRUE(isStructure<ManagedElement>(completeOf(element)));
    EquipmentHolder holder;
    holder.managedElement = "A";
    holder.name = "/rack=1";
    holder.expectedOrInstalledEquipment = "1";
    holder.acceptableEquipmentTypeList = {"LN16", "LN4"};
    EXPECT_TRUE(isStructure<EquipmentHolder>(completeOf(holder)));
    EXPECT_TRUE(isStructure<Equipment>(completeOf(Equipment())));
    EXPECT_TRUE(isStructure<TerminationPoint>(completeOf(port())));
    EXPECT_FALSE(isStructure<ManagedElement>(completeOf(port())));
    EXPECT_TRUE(isStructure<TopologicalLink>(completeOf(TopologicalLink())));
    Subnetwork subnetwork;
    subnetwork.supportedRates = {15};
    EXPECT_TRUE(isStructure<Subnetwork>(completeOf(subnetwork)));
    EXPECT_FALSE(isStructure<TerminationPoint>(completeOf(subnetwork)));
}

TEST(EncodedStructure, IsNotCompleteWhenItIsCutOrContinued) {
    const std::string whole = completeOf(port());
    for (std::size_t size = 0; size < whole.size(); ++size)
        EXPECT_FALSE(isStructure<TerminationPoint>(whole.substr(0, size))) << size;
    EXPECT_FALSE(isStructure<TerminationPoint>(whole + '\0'));
}

TEST(EncodedStructure, IsRefusedWithALengthEnumeratorOrFlagThatCannotBe) {
    const std::string whole = completeOf(port());
    std::string huge = whole;
    huge.replace(0, 4, "\xff\xff\xff\xff");
    EXPECT_FALSE(isStructure<TerminationPoint>(huge));
    std::string unended = whole;
    unended[11] = 'x';  // the end of "EMS"
    EXPECT_FALSE(isStructure<TerminationPoint>(unended));
    TerminationPoint row = port();
    row.direction = static_cast<Directionality>(4);
    EXPECT_FALSE(isStructure<TerminationPoint>(completeOf(row)));
}

TEST(EncodedStructure, TextEndsAtItsFirstZero) {
    TerminationPoint row = port();
    row.userLabel = "seen\0hidden"s;
    TerminationPoint seen = port();
    seen.userLabel = "seen";
    EXPECT_EQ(completeOf(row), completeOf(seen));
}

RC_GTEST_PROP(EncodedStructure, CheckOfAnyOctetsEnds, (const std::string& octets)) {
    isStructure<ManagedElement>(octets);
    isStructure<EquipmentHolder>(octets);
    isStructure<TerminationPoint>(octets);
    isName(octets);
}

RC_GTEST_PROP(EncodedStructure, WithOneOctetChangedIsWholeOrRefused, ()) {
    std::string octets = completeOf(port());
    const auto at = *rc::gen::inRange<std::size_t>(0, octets.size());
    octets[at] = *rc::gen::arbitrary<char>();
    if (isStructure<TerminationPoint>(octets))
        RC_ASSERT(octets.size() == completeOf(port()).size());
}

TEST(StoredFormTest, GivesTheStructureBack) {
    const std::string bytes = storedOf(port());
    const StoredForm form(bytes);
    ASSERT_TRUE(form.fits());
    std::string octets;
    appendWithEms(form.octets(), form.emsAt(), encodedEms("Kelp/EMS"), octets);
    EXPECT_EQ(octets, completeOf(port()));
    std::string name;
    appendWithEms(form.name(), form.emsAt(), encodedEms("Kelp/EMS"), name);
    EXPECT_TRUE(isName(name));
    EXPECT_EQ(octets.substr(0, name.size()), name);
}

TEST(StoredFormTest, FitsAnyNameOfTheEms) {
    const std::string bytes = storedOf(port());
    const StoredForm form(bytes);
    for (const std::string& ems : {""s, "E"s, "Kelp"s, std::string(1000, 'x')}) {
        std::string octets;
        appendWithEms(form.octets(), form.emsAt(), encodedEms(ems), octets);
        EXPECT_EQ(octets, completeOf(port(), ems));
        EXPECT_TRUE(isStructure<TerminationPoint>(octets));
    }
}

TEST(StoredFormTest, DoesNotFitWhenAnyOctetOfItIsAnother) {
    const std::string bytes = storedOf(port());
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        std::string damaged = bytes;
        damaged[at] = static_cast<char>(damaged[at] ^ 1);
        EXPECT_FALSE(StoredForm(damaged).fits()) << at;
    }
}

TEST(StoredFormTest, DoesNotFitWhenItIsCutEmptyOrTooLong) {
    const std::string bytes = storedOf(port());
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_FALSE(StoredForm(std::string_view(bytes).substr(0, size)).fits()) << size;
    EXPECT_FALSE(StoredForm(bytes + "x").fits());
    EXPECT_FALSE(StoredForm(std::string(kEncodedMax + 1, '\0')).fits());
}

TEST(StoredFormTest, OfAnObjectThatIsTooLongIsEmpty) {
    TerminationPoint row = port();
    row.additionalInfo = {{"text", std::string(kEncodedMax, 'x')}};
    EXPECT_EQ(storedOf(row), "");
}

RC_GTEST_PROP(StoredFormTest, ReadsAnyBytes, (const std::string& bytes)) {
    RC_ASSERT(!StoredForm(bytes).fits());
}

}  // namespace
}  // namespace kelp::test
