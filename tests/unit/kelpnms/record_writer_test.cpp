#include "upload/record_writer.h"

#include <gmock/gmock.h>

#include <sstream>

#include "network_samples.h"
#include "text/display_text.h"
#include "text/json_line.h"
#include "upload/cut_short.h"
#include "upload/network_json.h"

namespace kelp::nms {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class RecordWriter : public testing::Test {
  protected:
    std::string written(Format format, const RecordLayout& layout, unsigned columns,
                        const std::vector<nlohmann::ordered_json>& records) {
        std::string text;
        Output output([&](const std::string& part) { text += part; });
        const auto writer = recordWriter(format, layout, output, columns);
        for (const auto& record : records)
            writer->write(record);
        writer->finish();
        output.flush();
        return text;
    }
    static std::vector<std::string> lines(const std::string& text) {
        std::vector<std::string> all;
        std::istringstream in(text);
        for (std::string line; std::getline(in, line);)
            all.push_back(line);
        return all;
    }
    static nlohmann::ordered_json elementNamed(const char* name) {
        managedElement::ManagedElement_T element = sampleElement();
        element.name[1].value = name;
        return jsonOf(element);
    }
};

TEST_F(RecordWriter, CsvQuotesAndEndsLinesAsTheRfcSays) {
    EXPECT_EQ(
        written(Format::Csv, elementLayout(), 0, {jsonOf(sampleElement())}),
        "EMS,ManagedElement,name,userLabel,nativeEMSName,owner,location,version,productName,"
        "communicationState,emsInSyncState,supportedRates,additionalInfo\r\n"
        "Kelp/EMS,NE-1,\"[{\"\"name\"\":\"\"EMS\"\",\"\"value\"\":\"\"Kelp/EMS\"\"},{\"\"name\"\":"
        "\"\"ManagedElement\"\",\"\"value\"\":\"\"NE-1\"\"}]\",\"North, \"\"old\"\" "
        "exchange\",native,owner,"
        "\"Street "
        "1\r\nTown\",R4,KX,CS_UNAVAILABLE,true,\"[15,11]\",\"[{\"\"name\"\":\"\"b\"\","
        "\"\"value\"\":"
        "\"\"1\"\"},{\"\"name\"\":\"\"a\"\",\"\"value\"\":\"\"2\"\"},{\"\"name\"\":\"\"b\"\","
        "\"\"value\"\":"
        "\"\"3\"\"}]\"\r\n");
}

TEST_F(RecordWriter, CsvOfTwoKindsHasEmptyCellsForMissingAttributes) {
    const auto rows = lines(written(Format::Csv, equipmentLayout(), 0,
                                    {jsonOf(sampleHolder()), jsonOf(sampleEquipment())}));
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_THAT(rows[1], StartsWith("Kelp/EMS,NE-1,/shelf=1/slot=1,,EquipmentHolder,"));
    EXPECT_THAT(rows[2], StartsWith("Kelp/EMS,NE-1,/shelf=1/slot=1,1,Equipment,"));
    EXPECT_THAT(rows[2], HasSubstr(",false,,,,,OUT_OF_SERVICE_BY_MAINTENANCE,LN16,LN64,P,V,S,"));
}

TEST_F(RecordWriter, JsonHasOneLinePerRecord) {
    const auto rows =
        lines(written(Format::Json, elementLayout(), 80, {elementNamed("a"), elementNamed("b")}));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[1], lineOf(elementNamed("b")));
}

TEST_F(RecordWriter, TablesLinesFitTheTerminal) {
    for (unsigned width = 1; width < 200; ++width) {
        for (const std::string& line :
             lines(written(Format::Table, portLayout(), width, {jsonOf(samplePort())})))
            EXPECT_LE(displayWidth(line), width) << line;
    }
}

TEST_F(RecordWriter, TableElsewhereCutsNothing) {
    const std::string name(100, 'x');
    const auto rows = lines(written(Format::Table, elementLayout(), 0,
                                    {elementNamed("NE-1"), elementNamed(name.c_str())}));
    ASSERT_EQ(rows.size(), 3u);
    EXPECT_THAT(rows[2], StartsWith(name + "  North"));
    EXPECT_EQ(rows[0].find("LABEL"), rows[1].find("North"));
}

TEST_F(RecordWriter, ManyRowsHaveTheColumnsOfTheFirst) {
    std::vector<nlohmann::ordered_json> records(300, elementNamed("NE"));
    records.push_back(elementNamed("a-name-that-is-longer-than-its-column"));
    const auto rows = lines(written(Format::Table, elementLayout(), 100, records));
    ASSERT_EQ(rows.size(), 302u);
    EXPECT_EQ(rows[300].find("North"), rows[0].find("LABEL"));
    EXPECT_EQ(rows[301].find("North"), rows[0].find("LABEL"));
    EXPECT_THAT(rows[301], HasSubstr("~"));
}

TEST_F(RecordWriter, ControlCharactersDoNotReachTheTerminal) {
    const std::string text =
        written(Format::Table, elementLayout(), 0, {elementNamed("a\033[2J\nb")});
    EXPECT_EQ(lines(text).size(), 2u) << text;
    EXPECT_EQ(text.find('\033'), std::string::npos);
}

TEST(Output, FailureToWriteIsReported) {
    Output output([](const std::string&) { throw CannotWrite("it", "full"); });
    output.write("x");
    try {
        output.flush();
        FAIL() << "nothing was written";
    } catch (const CannotWrite& problem) {
        EXPECT_STREQ(problem.what(), "it cannot be written: full");
    }
}

TEST(Output, MuchIsWrittenWithoutWaitingForAFlush) {
    std::size_t most = 0;
    Output output([&](const std::string& text) { most = std::max(most, text.size()); });
    for (int i = 0; i < 1000; ++i)
        output.write(std::string(1000, 'x'));
    EXPECT_GT(most, 0u);
    EXPECT_LT(most, 100000u);
}

TEST(CutShort, SaysHowToContinue) {
    WalkPosition at{WalkPosition::Stage::Elements, 0, "", 0};
    EXPECT_EQ(cutShort("ports", at), "cut short before anything was written; begin again");
    at = {WalkPosition::Stage::Elements, 7, "", 0};
    EXPECT_EQ(cutShort("entries", at), "cut short after 7 entries; begin again");
    at = {WalkPosition::Stage::OfElement, 7, "NE 3", 0};
    EXPECT_EQ(cutShort("ports", at), "cut short after 7 ports; continue with --from \"NE 3\"");
    at = {WalkPosition::Stage::OfElement, 7, "NE-3", 2};
    EXPECT_THAT(cutShort("ports", at), HasSubstr("the last 2 are of NE-3"));
    at = {WalkPosition::Stage::Links, 7, "NE-3", 0};
    EXPECT_EQ(cutShort("links", at), "cut short after 7 links; begin again");
    EXPECT_THAT(cutShort("entries", at), HasSubstr("for all links: kelpnms links --json"));
}

}  // namespace
}  // namespace kelp::nms
