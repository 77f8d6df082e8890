#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "files/csv_text.h"
#include "support/temporary_directory.h"

namespace kelp::inventory {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class CsvText : public testing::Test {
  protected:
    /// Return the problem of the first record.
    std::string problemOf(const std::string& content) {
        LineReader in(folder.write("file.csv", content));
        std::string problem;
        EXPECT_TRUE(nextCsvRecord(in, cells, problem));
        return problem;
    }
    test::TemporaryDirectory folder;
    std::vector<std::string> cells;
};

TEST_F(CsvText, QuotedCellsHoldCommasQuotesAndLines) {
    EXPECT_EQ(problemOf("a,\"b,\"\"c\"\"\",\"d\r\ne\",\r\n"), "");
    EXPECT_THAT(cells, ElementsAre("a", "b,\"c\"", "d\r\ne", ""));
}

TEST_F(CsvText, WhatIsWrittenReadsTheSame) {
    const std::vector<std::string> record = {
        "", "plain", "with,comma", "with \"quote\"", "two\r\nlines", "é "};
    EXPECT_EQ(problemOf(csvLine(record)), "");
    EXPECT_EQ(cells, record);
}

TEST_F(CsvText, LinesAreCountedAcrossRecords) {
    LineReader in(folder.write("file.csv", "a\n\"b\nc\"\r\nd"));
    std::string problem;
    ASSERT_TRUE(nextCsvRecord(in, cells, problem));
    EXPECT_EQ(in.place().line, 2u);
    const Place second = in.place();
    ASSERT_TRUE(nextCsvRecord(in, cells, problem));
    EXPECT_EQ(in.place().line, 4u);
    ASSERT_TRUE(nextCsvRecord(in, cells, problem));
    EXPECT_THAT(cells, ElementsAre("d"));
    EXPECT_FALSE(nextCsvRecord(in, cells, problem));
    in.seek(second);
    ASSERT_TRUE(nextCsvRecord(in, cells, problem));
    EXPECT_THAT(cells, ElementsAre("b\nc"));
    EXPECT_EQ(in.place().line, 4u);
}

TEST_F(CsvText, WrongQuotesAreReported) {
    EXPECT_THAT(problemOf("a,b\"c\n"), HasSubstr("does not begin with one"));
    EXPECT_THAT(problemOf("a,\"b\"c\n"), HasSubstr("continues after"));
    EXPECT_THAT(problemOf("a,\"b\n"), HasSubstr("not closed"));
    EXPECT_THAT(problemOf(std::string(2u << 20, 'x')), HasSubstr("too long"));
}

}  // namespace
}  // namespace kelp::inventory
