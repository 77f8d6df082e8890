#include "line_reader.h"

#include <fcntl.h>
#include <gmock/gmock.h>

#include <fstream>
#include <vector>

#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

using example::kLineBytesMax;
using example::Line;

class LineReader : public testing::Test {
  protected:
    std::vector<Line> read(const std::string& content) {
        const std::string file = (folder_ / "file").string();
        std::ofstream(file, std::ios::binary) << content;
        example::LineReader reader(util::Descriptor(::open(file.c_str(), O_RDONLY | O_CLOEXEC)));
        std::vector<Line> lines;
        while (auto line = reader.next())
            lines.push_back(std::move(*line));
        return lines;
    }

    TemporaryDirectory folder_;
};

TEST_F(LineReader, SkipsBlankLinesAndCountsThem) {
    const auto lines = read("first\n\n \t\r\nfourth\r\n");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].text, "first");
    EXPECT_EQ(lines[1].text, "fourth");
    EXPECT_EQ(lines[1].number, 4u);
    EXPECT_TRUE(read("").empty());
}

TEST_F(LineReader, ReadsLinesAcrossItsBuffer) {
    std::string content;
    for (int i = 0; i < 5000; ++i)
        content += "line " + std::to_string(i) + "\n";
    const auto lines = read(content);
    ASSERT_EQ(lines.size(), 5000u);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_EQ(lines[i].text, "line " + std::to_string(i));
        EXPECT_EQ(lines[i].problem, "");
    }
}

TEST_F(LineReader, SkipsALineThatIsTooLongAndReadsTheNext) {
    const auto lines =
        read(std::string(kLineBytesMax, 'a') + "\n" + std::string(kLineBytesMax + 1, 'b') + "\n" +
             std::string(10 * kLineBytesMax, 'c') + "\nlast\n");
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0].problem, "");
    EXPECT_THAT(lines[1].problem, testing::HasSubstr("more than 65536 octets"));
    EXPECT_THAT(lines[2].problem, testing::HasSubstr("more than 65536 octets"));
    EXPECT_LE(lines[2].text.size(), kLineBytesMax);
    EXPECT_EQ(lines[3].text, "last");
    EXPECT_EQ(lines[3].problem, "");
}

TEST_F(LineReader, RefusesAHalfLineAndOneThatIsNotUtf8) {
    const auto lines = read("\xc3\x28\nhalf");
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].problem, "the line is not UTF-8");
    EXPECT_THAT(lines[1].problem, testing::HasSubstr("has no end"));
    const auto tooLong = read(std::string(kLineBytesMax + 1, 'a'));
    ASSERT_EQ(tooLong.size(), 1u);
    EXPECT_THAT(tooLong[0].problem, testing::HasSubstr("more than"));
}

}  // namespace
}  // namespace kelp::test
