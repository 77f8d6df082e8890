#include "upload/network_json.h"

#include <gmock/gmock.h>

#include <set>

#include "network_samples.h"
#include "text/json_line.h"
#include "upload/record_layout.h"

namespace kelp::nms {
namespace {

using Json = nlohmann::ordered_json;

TEST(NetworkJson, ElementHasEveryAttributeInTheStructuresOrder) {
    EXPECT_EQ(
        lineOf(jsonOf(sampleElement())),
        R"({"object":"ManagedElement","name":[{"name":"EMS","value":"Kelp/EMS"},)"
        R"({"name":"ManagedElement","value":"NE-1"}],"userLabel":"North, \"old\" exchange",)"
        R"("nativeEMSName":"native","owner":"owner","location":"Street 1\r\nTown","version":"R4",)"
        R"("productName":"KX","communicationState":"CS_UNAVAILABLE","emsInSyncState":true,)"
        R"("supportedRates":[15,11],"additionalInfo":[{"name":"b","value":"1"},{"name":"a","value":"2"},)"
        R"({"name":"b","value":"3"}]})");
}

TEST(NetworkJson, PortHasItsLayersWithTheirParameters) {
    const Json json = jsonOf(samplePort());
    EXPECT_EQ(json["object"], "TerminationPoint");
    EXPECT_EQ(json["type"], "TPT_PTP");
    EXPECT_EQ(json["connectionState"], "TPCS_BI_CONNECTED");
    EXPECT_EQ(json["tpMappingMode"], "TM_TERMINATED_AND_AVAILABLE_FOR_MAPPING");
    EXPECT_EQ(json["direction"], "D_SINK");
    EXPECT_EQ(json["tpProtectionAssociation"], "TPPA_PSR_RELATED");
    EXPECT_EQ(json["edgePoint"], true);
    EXPECT_EQ(
        lineOf(json["transmissionParams"]),
        R"([{"layer":47,"transmissionParams":[]},)"
        R"({"layer":22,"transmissionParams":[{"name":"TrailTraceExpectedRx","value":"x"}]}])");
    EXPECT_EQ(json["ingressTrafficDescriptorName"][1]["value"], "in");
    EXPECT_EQ(json["egressTrafficDescriptorName"][1]["value"], "out");
}

TEST(NetworkJson, EquipmentAndItsHolderAreDistinguished) {
    equipment::EquipmentOrHolder_T either;
    either.holder(sampleHolder());
    const Json holder = jsonOf(either);
    EXPECT_EQ(holder["object"], "EquipmentHolder");
    EXPECT_EQ(holder["holderType"], "slot");
    EXPECT_EQ(holder["holderState"], "MISMATCH_OF_INSTALLED_AND_EXPECTED");
    EXPECT_EQ(holder["alarmReportingIndicator"], true);
    EXPECT_EQ(lineOf(holder["acceptableEquipmentTypeList"]), R"(["LN16","LN64"])");
    EXPECT_EQ(holder["expectedOrInstalledEquipment"][0]["value"], "1");
    either.equip(sampleEquipment());
    const Json card = jsonOf(either);
    EXPECT_EQ(card["object"], "Equipment");
    EXPECT_EQ(card["serviceState"], "OUT_OF_SERVICE_BY_MAINTENANCE");
    EXPECT_EQ(card["expectedEquipmentObjectType"], "LN16");
    EXPECT_EQ(card["installedEquipmentObjectType"], "LN64");
    EXPECT_EQ(card["installedPartNumber"], "P");
    EXPECT_EQ(card["installedVersion"], "V");
    EXPECT_EQ(card["installedSerialNumber"], "S");
}

TEST(NetworkJson, LinkHasItsEnds) {
    const Json json = jsonOf(sampleLink());
    EXPECT_EQ(json["direction"], "CD_UNI");
    EXPECT_EQ(json["rate"], 10007);
    EXPECT_EQ(json["aEndTP"][2]["value"], "/port=1");
    EXPECT_EQ(json["zEndTP"][3]["name"], "CTP");
}

TEST(NetworkJson, TextThatIsNoUtf8DoesNotKeepTheRestFromBeingWritten) {
    managedElement::ManagedElement_T element = sampleElement();
    element.owner = "M\xFCller";
    EXPECT_THAT(lineOf(jsonOf(element)), testing::HasSubstr("M\xEF\xBF\xBDller"));
}

/// Expect that CSV contains every attribute of JSON.
void expectAllAttributes(const RecordLayout& layout, const std::vector<Json>& records) {
    std::set<std::string> inJson;
    for (const Json& record : records) {
        for (const auto& [key, value] : record.items())
            inJson.insert(key);
    }
    if (records.size() == 1)
        inJson.erase("object");  // it is the same in every row
    EXPECT_EQ(std::set<std::string>(layout.attributes.begin(), layout.attributes.end()), inJson);
    EXPECT_EQ(layout.attributes.size(), inJson.size());
}

TEST(RecordLayout, CsvHasEveryAttribute) {
    expectAllAttributes(elementLayout(), {jsonOf(sampleElement())});
    expectAllAttributes(portLayout(), {jsonOf(samplePort())});
    expectAllAttributes(equipmentLayout(), {jsonOf(sampleHolder()), jsonOf(sampleEquipment())});
    expectAllAttributes(linkLayout(), {jsonOf(sampleLink())});
}

std::vector<std::string> cells(const RecordLayout& layout, const Json& record) {
    std::vector<std::string> texts;
    for (const RecordLayout::Column& column : layout.columns)
        texts.push_back(column.text(record));
    return texts;
}

TEST(RecordLayout, RowsArePlain) {
    using testing::ElementsAre;
    EXPECT_THAT(cells(elementLayout(), jsonOf(sampleElement())),
                ElementsAre("NE-1", "North, \"old\" exchange", "KX", "R4", "UNAVAILABLE", "true",
                            "Street 1\r\nTown"));
    EXPECT_THAT(cells(portLayout(), jsonOf(samplePort())),
                ElementsAre("NE-1", "/shelf=1/port=1", "to NE-2", "SINK", "BI_CONNECTED",
                            "PHYSICAL_OPTICAL Section_OC48_STS48_and_RS_STM16"));
    EXPECT_THAT(cells(equipmentLayout(), jsonOf(sampleHolder())),
                ElementsAre("NE-1", "/shelf=1/slot=1", "", "slot",
                            "MISMATCH_OF_INSTALLED_AND_EXPECTED", "", ""));
    EXPECT_THAT(cells(equipmentLayout(), jsonOf(sampleEquipment())),
                ElementsAre("NE-1", "/shelf=1/slot=1", "1", "LN64", "OUT_OF_SERVICE_BY_MAINTENANCE",
                            "S", ""));
    EXPECT_THAT(cells(linkLayout(), jsonOf(sampleLink())),
                ElementsAre("1", "NE-1 /port=1", "NE-2 /ftp=2/e1=3", "10007", "UNI", ""));
}

}  // namespace
}  // namespace kelp::nms
