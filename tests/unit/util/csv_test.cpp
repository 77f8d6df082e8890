#include <gtest/gtest.h>
#include <kelp/util/csv.h>

#include <array>
#include <vector>

namespace {

using kelp::util::csvField;
using kelp::util::csvRecord;

TEST(Csv, PlainFieldsStayAsTheyAre) {
    for (const char* const text :
         {"", "plain", " with blanks ", "semi;colon", "tab\t", "gr\xC3\xBC\xC3\x9F"})
        EXPECT_EQ(csvField(text), text);
}

TEST(Csv, CommasAndLineEndsAreQuoted) {
    EXPECT_EQ(csvField("a,b"), "\"a,b\"");
    EXPECT_EQ(csvField("a\nb"), "\"a\nb\"");
    EXPECT_EQ(csvField("a\rb"), "\"a\rb\"");
    EXPECT_EQ(csvField(","), "\",\"");
}

TEST(Csv, QuotationMarksAreDoubled) {
    EXPECT_EQ(csvField("\""), "\"\"\"\"");
    EXPECT_EQ(csvField("say \"hi\""), "\"say \"\"hi\"\"\"");
}

TEST(Csv, NullCharactersAreKept) {
    const std::string text("a\0,b", 4);
    EXPECT_EQ(csvField(text), '"' + text + '"');
}

TEST(Csv, ARecordHasItsFieldsWithCommasBetween) {
    EXPECT_EQ(csvRecord(std::vector<std::string>{}), "");
    EXPECT_EQ(csvRecord(std::vector<std::string>{"", ""}), ",");
    EXPECT_EQ(csvRecord(std::array<const char*, 3>{"id", "a,b", ""}), "id,\"a,b\",");
}

}  // namespace
