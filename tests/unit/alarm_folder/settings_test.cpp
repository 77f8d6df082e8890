#include "settings.h"

#include <gmock/gmock.h>

#include <fstream>
#include <stdexcept>

#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

using testing::HasSubstr;
using namespace std::chrono_literals;

class AdapterSettings : public testing::Test {
  protected:
    std::string write(const std::string& toml) {
        const std::string file = (folder_ / "alarm_folder.toml").string();
        std::ofstream(file) << toml;
        return file;
    }
    std::string whyRefused(const std::string& toml) {
        try {
            example::readSettings(write(toml), "Acme/1");
        } catch (const std::runtime_error& wrong) {
            return wrong.what();
        }
        return "it is not refused";
    }
    std::string folderLine() { return "folder = '" + folder_.path().string() + "'\n"; }

    TemporaryDirectory folder_;
};

TEST_F(AdapterSettings, AreReadFromTheirFile) {
    const auto settings = example::readSettings(write(folderLine() + "poll_ms = 20\n"), "Acme/1");
    EXPECT_EQ(settings.folder, folder_.path());
    EXPECT_EQ(settings.poll, 20ms);
    EXPECT_EQ(settings.ems, "Acme/1");
    EXPECT_EQ(example::readSettings(write(folderLine()), "Acme/1").poll, 250ms);
}

TEST_F(AdapterSettings, NameTheLineAndTheKeyOfAProblem) {
    EXPECT_THAT(whyRefused(""), HasSubstr("alarm_folder.toml: folder: is missing"));
    EXPECT_THAT(whyRefused("\nfolder = 'spool'\n"), HasSubstr("alarm_folder.toml:2: folder: "));
    EXPECT_THAT(whyRefused("folder = '/no/such'\n"), HasSubstr("/no/such must be a folder"));
    EXPECT_THAT(whyRefused(folderLine() + "poll_ms = 9\n"),
                HasSubstr("toml:2: poll_ms: must be an integer from 10 to 60000"));
    EXPECT_THAT(whyRefused(folderLine() + "pol_ms = 9\n"), HasSubstr("toml:2: pol_ms: is not a"));
    EXPECT_THAT(whyRefused("folder = \n"), HasSubstr("toml:1: is not valid TOML"));
}

TEST_F(AdapterSettings, AreShippedComplete) {
    std::ifstream shipped(SHIPPED_SETTINGS);
    std::string text{std::istreambuf_iterator<char>(shipped), {}};
    const std::string example = "/var/spool/kelp-alarms";
    const std::size_t place = text.find(example);
    ASSERT_NE(place, std::string::npos);
    text.replace(place, example.size(), folder_.path().string());
    EXPECT_EQ(example::readSettings(write(text), "Acme/1").poll, 250ms);
}

}  // namespace
}  // namespace kelp::test
