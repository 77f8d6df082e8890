#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

class ImportProblems : public InventoryTest {
  protected:
    /// Import the small network followed by this line. Return the only problem.
    std::string problemOf(const std::string& line) {
        const ImportResult result = take(kSmallNetwork + line + "\n");
        EXPECT_EQ(result.problemCount, 1u) << line << testing::PrintToString(result.problems);
        return result.problems.empty() ? "" : result.problems[0].text();
    }
    std::string problemOfElement(const std::string& keys) {
        return problemOf(R"({"object":"ManagedElement","ManagedElement":"C","productName":"P",)" +
                         keys + "}");
    }
    std::string problemOfPort(const std::string& keys) {
        return problemOf(R"({"object":"TerminationPoint","ManagedElement":"A","PTP":"p9",)" + keys +
                         "}");
    }
    ImportResult takeCsv(const std::string& name, const std::string& content) {
        std::filesystem::create_directory(folder / "csv");
        folder.write("csv/" + name, content);
        return importInventory(database, folder / "csv", {});
    }
};

TEST_F(ImportProblems, NameFileLineAndKey) {
    EXPECT_EQ(problemOfElement(R"("communicationState":"CS_GONE")"),
              "network.jsonl:17: communicationState: \"CS_GONE\" is none of CS_AVAILABLE, "
              "CS_UNAVAILABLE");
    EXPECT_EQ(problemOfElement(R"("colour":"red")"),
              "network.jsonl:17: colour: is not a key of this kind of object");
}

TEST_F(ImportProblems, AreReportedInOneLineWhateverTheFileHolds) {
    EXPECT_EQ(problemOfElement(R"("a\u001b[31m\n":"red")"),
              R"(network.jsonl:17: a\x1B[31m\n: is not a key of this kind of object)");
}

TEST_F(ImportProblems, BadLinesAreReported) {
    EXPECT_THAT(problemOf("{\"object\":"), StartsWith("network.jsonl:17: is not JSON: "));
    EXPECT_EQ(problemOf("[1]"), "network.jsonl:17: is not a JSON object");
    EXPECT_EQ(problemOf("{}"), "network.jsonl:17: has no key \"object\"");
    EXPECT_THAT(
        problemOf(R"({"object":"Router"})"),
        HasSubstr("object: \"Router\" is none of EMS, MultiLayerSubnetwork, ManagedElement, "));
    EXPECT_THAT(problemOf("{\"object\":\"ManagedElement\",\"ManagedElement\":\"\xC3\x28\"}"),
                HasSubstr("is not JSON"));
    EXPECT_THAT(problemOf(std::string(2u << 20, ' ') + "{}"), HasSubstr("the line is too long"));
}

TEST_F(ImportProblems, BadValuesAreReported) {
    EXPECT_THAT(problemOfElement(R"("owner":5)"), HasSubstr("owner: 5 is not a text"));
    EXPECT_THAT(problemOfElement(R"("owner":")" + std::string(5000, 'x') + "\""),
                HasSubstr("owner: has more"));
    EXPECT_THAT(problemOfElement(R"("emsInSyncState":"yes")"),
                HasSubstr("is neither true nor false"));
    EXPECT_THAT(problemOfElement(R"("supportedRates":"LR_E1_2M")"), HasSubstr("is not a list"));
    EXPECT_THAT(problemOfElement(R"("supportedRates":["LR_E1"])"),
                HasSubstr("\"LR_E1\" is not a layer rate"));
    EXPECT_THAT(problemOfElement(R"("supportedRates":[30])"), HasSubstr("30 is not a layer rate"));
    EXPECT_THAT(problemOfElement(R"("supportedRates":[4294967301])"),
                HasSubstr("is not a layer rate"));
    EXPECT_THAT(problemOfElement(R"("supportedRates":[18446744073709551615])"),
                HasSubstr("is not a layer rate"));
    EXPECT_THAT(problemOfElement(R"("additionalInfo":["a"])"),
                HasSubstr("is not an object of names"));
    EXPECT_THAT(problemOfElement(R"("additionalInfo":{"a":1})"),
                HasSubstr("additionalInfo: a: 1 is not a text"));
    EXPECT_THAT(problemOfElement(R"("nativeEMSName":"")"),
                HasSubstr("nativeEMSName: must not be empty"));
    EXPECT_THAT(problemOfPort(R"("transmissionParams":{"LR_X":{}})"),
                HasSubstr("\"LR_X\" is not a layer rate"));
    EXPECT_THAT(problemOfPort(R"("transmissionParams":{"5":{"a":1}})"),
                HasSubstr("transmissionParams: 5: a: 1"));
    EXPECT_THAT(problemOfPort(R"("edgePoint":true)"),
                HasSubstr("transmissionParams: must name a layer rate"));
    EXPECT_THAT(problemOf(R"({"object":"ManagedElement","ManagedElement":"C"})"),
                HasSubstr("productName: must not be empty"));
}

TEST_F(ImportProblems, ARepeatedKeyInAnObjectIsReported) {
    EXPECT_EQ(problemOfElement(R"("owner":"a","owner":"b")"),
              "network.jsonl:17: owner: this key is there twice");
    EXPECT_THAT(problemOfElement(R"("owner":"a","own\u0065r":"a")"),
                HasSubstr("owner: this key is there"));
    EXPECT_EQ(problemOf(R"({"object":"ManagedElement","object":"EMS"})"),
              "network.jsonl:17: object: this key is there twice");
    EXPECT_EQ(problemOfElement(R"("additionalInfo":{"a":"1","b":"1","a":"2"})"),
              "network.jsonl:17: additionalInfo: a: this key is there twice");
    EXPECT_EQ(problemOfPort(R"("transmissionParams":{"5":{"t":"x","t":"x"},"11":{}})"),
              "network.jsonl:17: transmissionParams: 5: t: this key is there twice");
    takeRight(
        std::string(kSmallNetwork) +
        R"({"object":"TerminationPoint","ManagedElement":"B","PTP":"p2","transmissionParams":{"5":{"t":"x"},"11":{"t":"x"}},"additionalInfo":{"t":"x"}})");
}

TEST_F(ImportProblems, ARepeatedKeyInACellIsReported) {
    const ImportResult result = takeCsv("ManagedElement.csv",
                                        "ManagedElement,productName,additionalInfo\n"
                                        "A,P,\"{\"\"a\"\":\"\"1\"\",\"\"a\"\":\"\"2\"\"}\"\n");
    ASSERT_THAT(result.problems, SizeIs(1));
    EXPECT_EQ(result.problems[0].text(),
              "ManagedElement.csv:2: additionalInfo: a: this key is there twice");
}

TEST_F(ImportProblems, BadNamesAreReported) {
    const auto named = [this](const std::string& name) {
        return problemOf(R"({"object":"ManagedElement","productName":"P","ManagedElement":")" +
                         name + "\"}");
    };
    EXPECT_EQ(problemOf(R"({"object":"ManagedElement","productName":"P"})"),
              "network.jsonl:17: ManagedElement: is missing");
    EXPECT_THAT(named(""), HasSubstr("ManagedElement: must not be empty"));
    EXPECT_THAT(named(" C"), HasSubstr("must not begin or end with a blank"));
    EXPECT_THAT(named("C\\n"), HasSubstr("must not contain control characters"));
    EXPECT_THAT(named(std::string(1025, 'x')), HasSubstr("must have at most 1024 characters"));
    const auto holder = [this](const std::string& name) {
        return problemOf(R"({"object":"EquipmentHolder","ManagedElement":"A","EquipmentHolder":")" +
                         name + "\"}");
    };
    for (const char* const path :
         {"shelf=1", "/", "/shelf", "/shelf=", "/=1", "/shelf=1/", "/shelf=1/rack=1",
          "/shelf=1/shelf=2", "/cupboard=1", "/remote_unit=1"})
        EXPECT_THAT(holder(path), HasSubstr("is not a path such as /rack=1/shelf=1/slot=2"))
            << path;
    for (const char* const ctp : {"au4", "/au4", "/a=1/", "/a="})
        EXPECT_THAT(problemOfPort(std::string(R"("transmissionParams":[5],"CTP":")") + ctp + "\""),
                    HasSubstr("CTP: is not a path such as /sts3c_au4-j=1"))
            << ctp;
    EXPECT_THAT(problemOfPort(R"("FTP":"f","transmissionParams":[5])"),
                HasSubstr("PTP: both this and FTP"));
    EXPECT_THAT(
        problemOf(R"({"object":"TerminationPoint","ManagedElement":"A","transmissionParams":[5]})"),
        HasSubstr("PTP: neither this nor FTP is given"));
    EXPECT_THAT(
        problemOf(
            R"({"object":"EquipmentHolder","ManagedElement":"A","EquipmentHolder":"/shelf=2",)"
            R"("holderType":"slot"})"),
        HasSubstr("holderType: \"slot\" is not what the name says, \"shelf\""));
}

TEST_F(ImportProblems, NamesOf1024CharactersAreRight) {
    std::string name;
    for (int i = 0; i < 1024; ++i)
        name += "é";
    takeRight(R"({"object":"ManagedElement","productName":"P","ManagedElement":")" + name + "\"}");
}

TEST_F(ImportProblems, MissingParentsAreReported) {
    EXPECT_EQ(
        problemOf(
            R"({"object":"EquipmentHolder","ManagedElement":"Z","EquipmentHolder":"/shelf=1"})"),
        "network.jsonl:17: ManagedElement: there is no managed element \"Z\"");
    EXPECT_THAT(
        problemOf(R"({"object":"Equipment","ManagedElement":"A","EquipmentHolder":"/shelf=9",)"
                  R"("Equipment":"1"})"),
        HasSubstr("EquipmentHolder: there is no equipment holder \"/shelf=9\" in \"A\""));
    EXPECT_THAT(problemOfPort(R"("transmissionParams":[15],"CTP":"/sts3c_au4-j=1")"),
                HasSubstr("PTP: there is no PTP \"p9\" in \"A\""));
    EXPECT_THAT(problemOfPort(R"("transmissionParams":[15],"supportingEquipmentHolder":"/rack=1",)"
                              R"("supportingEquipment":"1")"),
                HasSubstr("supportingEquipment: there is no equipment \"1\" in \"/rack=1\""));
    const std::string link = R"({"object":"TopologicalLink","TopologicalLink":"x","rate":22,)"
                             R"("aEndManagedElement":"A","aEndPTP":"p1",)";
    EXPECT_THAT(problemOf(link + R"("zEndManagedElement":"A","zEndFTP":"p1"})"),
                HasSubstr("zEndFTP: there is no FTP \"p1\" in \"A\""));
    EXPECT_THAT(problemOf(link + R"("zEndManagedElement":"A","zEndPTP":"p1","zEndCTP":"/a=1"})"),
                HasSubstr("zEndCTP: there is no CTP \"/a=1\" in PTP \"p1\" in \"A\""));
}

TEST_F(ImportProblems, MissingSubnetworksAreReported) {
    EXPECT_EQ(problemOfElement(R"("subnetworks":["S"])"),
              "network.jsonl:17: subnetworks: there is no subnetwork \"S\"");
    EXPECT_THAT(problemOfElement(R"("subnetworks":"S")"),
                HasSubstr("subnetworks: \"S\" is not a list"));
    EXPECT_THAT(problemOfElement(R"("subnetworks":[1])"),
                HasSubstr("subnetworks: 1 is not a text"));
    EXPECT_THAT(problemOfElement(R"("subnetworks":[" S"])"),
                HasSubstr("must not begin or end with a blank"));
    EXPECT_THAT(problemOfElement(R"("subnetworks":["S","T","S"])"),
                HasSubstr("subnetworks: \"S\" appears twice"));
    EXPECT_THAT(
        problemOf(R"({"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"S",)"
                  R"("subnetworkType":"TOPO_STAR"})"),
        HasSubstr("subnetworkType: \"TOPO_STAR\" is none of TOPO_SINGLETON, TOPO_CHAIN, TOPO_PSR, "
                  "TOPO_OPEN_PSR, TOPO_SPRING, TOPO_OPEN_SPRING, TOPO_MESH"));
    EXPECT_THAT(problemOf(R"({"object":"MultiLayerSubnetwork"})"),
                HasSubstr("MultiLayerSubnetwork: is missing"));
}

TEST_F(ImportProblems, ASecondEmsIsReported) {
    EXPECT_EQ(problemOf("{\"object\":\"EMS\"}\n{\"object\":\"EMS\",\"owner\":\"x\"}"),
              "network.jsonl:18: EMS is already in line 17");
    EXPECT_THAT(problemOf(R"({"object":"EMS","nativeEMSName":"x"})"),
                HasSubstr("nativeEMSName: is not a key of this kind of object"));
}

TEST_F(ImportProblems, DuplicatesAreReportedWithTheLineOfTheFirst) {
    EXPECT_EQ(
        problemOf(R"({"object":"ManagedElement","ManagedElement":"A","productName":"again"})"),
        "network.jsonl:17: ManagedElement \"A\" is already in line 1");
    takeRight(kSmallNetwork);
    EXPECT_EQ(problemOf(R"({"object":"TerminationPoint","ManagedElement":"A","PTP":"p2"})"),
              "network.jsonl:17: TerminationPoint \"p2\" is already in line 9");
}

TEST_F(ImportProblems, TheFirstTwentyAreKeptInTheirOrder) {
    std::string lines =
        R"({"object":"EquipmentHolder","ManagedElement":"Z","EquipmentHolder":"/shelf=1"})"
        "\n";
    for (int i = 0; i < 30; ++i)
        lines += "{}\n";
    const ImportResult result = take(lines);
    EXPECT_EQ(result.problemCount, 31u);
    ASSERT_THAT(result.problems, SizeIs(20));
    EXPECT_EQ(result.problems[0].key, "ManagedElement") << "though it was found out last";
    for (std::size_t i = 0; i < 20; ++i)
        EXPECT_EQ(result.problems[i].line, i + 1);
}

TEST_F(ImportProblems, EveryInvalidAttributeIsReported) {
    const ImportResult result = take(
        R"({"object":"ManagedElement","ManagedElement":"C","owner":1,"location":2,"productName":"P"})");
    ASSERT_THAT(result.problems, SizeIs(2));
    EXPECT_EQ(result.problems[0].key, "owner");
    EXPECT_EQ(result.problems[1].key, "location");
}

TEST_F(ImportProblems, CsvHeadersAreChecked) {
    EXPECT_THAT(takeCsv("ManagedElement.csv", "ManagedElement,prodName\nA,P\n").problems[0].text(),
                "ManagedElement.csv:1: prodName: is not a column of this kind of object");
    EXPECT_THAT(
        takeCsv("ManagedElement.csv", "ManagedElement,ManagedElement\nA,A\n").problems[0].text(),
        "ManagedElement.csv:1: ManagedElement: this column appears twice");
    EXPECT_THAT(takeCsv("ManagedElement.csv", "").problems[0].text(),
                "ManagedElement.csv:1: has no header line");
}

TEST_F(ImportProblems, CsvRecordsAreNamedByTheirFirstLine) {
    const ImportResult result = takeCsv("ManagedElement.csv",
                                        "ManagedElement,productName,location\n"
                                        "A,P,\"two\nlines\"\n"
                                        "B,P\n"
                                        "C,P,\xFF\n"
                                        "D,\"P,x\n");
    ASSERT_THAT(result.problems, SizeIs(3));
    EXPECT_EQ(result.problems[0].text(), "ManagedElement.csv:4: has 2 cells, the header has 3");
    EXPECT_EQ(result.problems[1].text(), "ManagedElement.csv:5: location: is not UTF-8");
    EXPECT_EQ(result.problems[2].text(),
              "ManagedElement.csv:6: a cell's quotation mark is not closed");
}

TEST_F(ImportProblems, InvalidCsvListsAreReported) {
    const ImportResult result = takeCsv("ManagedElement.csv",
                                        "ManagedElement,productName,supportedRates,additionalInfo\n"
                                        "A,P,LR_E1_2M 30,\n"
                                        "B,P,[5,\n"
                                        "C,P,,{broken\n");
    ASSERT_THAT(result.problems, SizeIs(3));
    EXPECT_THAT(result.problems[0].text(),
                HasSubstr(":2: supportedRates: \"30\" is not a layer rate"));
    EXPECT_THAT(result.problems[1].text(), HasSubstr(":3: supportedRates: \"[5\" is not a list"));
    EXPECT_THAT(result.problems[2].text(),
                HasSubstr(":4: additionalInfo: \"{broken\" is not an object"));
}

TEST_F(ImportProblems, ACsvFileOfAnUnknownKindIsReported) {
    takeCsv("ManagedElement.csv", "ManagedElement,productName\nA,P\n");
    const ImportResult result = takeCsv("TerminationPoints.csv", "ManagedElement,PTP\n");
    ASSERT_THAT(result.problems, SizeIs(1));
    EXPECT_EQ(result.problems[0].text(), "TerminationPoints.csv: is not a kind of object");
}

}  // namespace
}  // namespace kelp::test
