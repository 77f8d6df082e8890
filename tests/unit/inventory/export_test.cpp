#include <nlohmann/json.hpp>

#include "inventory_fixture.h"

namespace kelp::test {
namespace {

using namespace inventory;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// Values that are easily lost: quotes, line breaks, commas, characters beyond ASCII, empty texts,
/// vendors' rates, and every attribute with a value other than its default.
const char* const kAwkward =
    R"({"object":"EMS","userLabel":"the \"EMS\"","owner":"a,b\nc","additionalInfo":{"a":"1"}}
{"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"[S] 1","userLabel":"","owner":"o","subnetworkType":"TOPO_OPEN_SPRING","supportedRates":[5,10001],"additionalInfo":{"b":""}}
{"object":"MultiLayerSubnetwork","MultiLayerSubnetwork":"S,\"2\""}
{"object":"ManagedElement","ManagedElement":"Zürich, \"A\"","subnetworks":["S,\"2\"","[S] 1"],"productName":"P","userLabel":"","owner":"a\nb","location":"x,y","version":"1","communicationState":"CS_UNAVAILABLE","emsInSyncState":false,"supportedRates":[10001,5],"additionalInfo":{"b":"2","a":"","c,\"d":"e"}}
{"object":"EquipmentHolder","ManagedElement":"Zürich, \"A\"","EquipmentHolder":"/shelf=1","holderState":"EMPTY","alarmReportingIndicator":false,"expectedOrInstalledEquipment":"1","acceptableEquipmentTypeList":["x y","","z,"]}
{"object":"Equipment","ManagedElement":"Zürich, \"A\"","EquipmentHolder":"/shelf=1","Equipment":"1","serviceState":"OUT_OF_SERVICE_BY_MAINTENANCE","installedSerialNumber":"S1","installedVersion":"[1]"}
{"object":"TerminationPoint","ManagedElement":"Zürich, \"A\"","FTP":"f","supportingEquipmentHolder":"/shelf=1","supportingEquipment":"1","transmissionParams":{"10001":{},"5":{"n":"v\nw"}},"tpMappingMode":"TM_TERMINATED_AND_AVAILABLE_FOR_MAPPING","direction":"D_SINK","tpProtectionAssociation":"TPPA_PSR_RELATED","edgePoint":true,"ingressTrafficDescriptorName":"td1","egressTrafficDescriptorName":"td2"}
{"object":"TerminationPoint","ManagedElement":"Zürich, \"A\"","FTP":"f","CTP":"/a=1","transmissionParams":[5],"connectionState":"TPCS_SINK_CONNECTED"}
{"object":"TopologicalLink","TopologicalLink":"{}","direction":"CD_UNI","rate":10001,"aEndManagedElement":"Zürich, \"A\"","aEndFTP":"f","zEndManagedElement":"Zürich, \"A\"","zEndFTP":"f","zEndCTP":"/a=1"}
)";

class InventoryExport : public InventoryTest {
  protected:
    std::string exportedOf(const std::filesystem::path& other) {
        std::ostringstream out;
        exportJsonLines(other, out);
        return out.str();
    }
};

TEST_F(InventoryExport, JsonLinesImportToTheSame) {
    takeRight(std::string(kSmallNetwork) + kAwkward);
    const std::string first = exported();
    const std::filesystem::path copy = folder / "copy.db";
    EXPECT_THAT(importInventory(copy, folder.write("export.jsonl", first), {}).problems, IsEmpty());
    EXPECT_EQ(exportedOf(copy), first);
    EXPECT_THAT(first, HasSubstr(R"("additionalInfo":{"b":"2","a":"","c,\"d":"e"})"))
        << "in its order";
    EXPECT_THAT(first, HasSubstr(R"("userLabel":"")"));
}

TEST_F(InventoryExport, CsvImportsToTheSame) {
    takeRight(std::string(kSmallNetwork) + kAwkward);
    exportCsv(database, folder / "csv");
    const std::filesystem::path copy = folder / "copy.db";
    EXPECT_THAT(importInventory(copy, folder / "csv", {}).problems, IsEmpty());
    EXPECT_EQ(exportedOf(copy), exported());
}

TEST_F(InventoryExport, ObjectsAreGivenByTheStandardsNames) {
    takeRight(kSmallNetwork);
    std::istringstream lines(exported());
    std::string line;
    std::getline(lines, line);
    const nlohmann::json element = nlohmann::json::parse(line);
    EXPECT_FALSE(element.contains("subnetworks")) << "it is in none";
    EXPECT_EQ(element["object"], "ManagedElement");
    EXPECT_EQ(element["ManagedElement"], "A");
    EXPECT_EQ(element["communicationState"], "CS_AVAILABLE");
    EXPECT_THAT(exported(), HasSubstr(R"("rate":"LR_Section_OC48_STS48_and_RS_STM16")"));
}

TEST_F(InventoryExport, CsvFilesHaveAHeaderAndCrLf) {
    takeRight(kSmallNetwork);
    exportCsv(database, folder / "csv");
    const std::string ports = contentOf(folder / "csv/TerminationPoint.csv");
    EXPECT_THAT(
        ports,
        StartsWith("ManagedElement,PTP,FTP,CTP,supportingEquipmentHolder,supportingEquipment,"));
    EXPECT_THAT(ports, HasSubstr(",LR_E1_2M,"));
    EXPECT_THAT(ports, testing::EndsWith("\r\n"));
    EXPECT_FALSE(std::filesystem::exists(folder / "csv/TerminationPoint.csv.partial"));
}

TEST_F(InventoryExport, AMissingInventoryIsAnError) {
    std::ostringstream out;
    EXPECT_THAT([&] { exportJsonLines(database, out); },
                testing::ThrowsMessage<InventoryFailure>(HasSubstr("inventory.db does not exist")));
    EXPECT_FALSE(std::filesystem::exists(database));
}

TEST_F(InventoryExport, AnOutputThatCannotBeWrittenIsAnError) {
    takeRight(kSmallNetwork);
    std::ostringstream out;
    out.setstate(std::ios::badbit);
    EXPECT_THAT([&] { exportJsonLines(database, out); },
                testing::ThrowsMessage<InventoryFailure>(HasSubstr("cannot be written")));
    folder.write("file", "");
    EXPECT_THROW(exportCsv(database, folder / "file" / "csv"), InventoryFailure);
}

}  // namespace
}  // namespace kelp::test
