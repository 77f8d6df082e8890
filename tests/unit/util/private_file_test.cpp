#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/util/private_file.h>
#include <sys/stat.h>

#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

using testing::StartsWith;
using util::makePrivateFile;

mode_t modeOf(const std::filesystem::path& file) {
    struct stat status {};
    EXPECT_EQ(::stat(file.c_str(), &status), 0) << file;
    return status.st_mode & 0777u;
}

class PrivateFile : public testing::Test {
  protected:
    TemporaryDirectory folder;
};

TEST_F(PrivateFile, IsEmptyAndForItsOwnerAlone) {
    const mode_t before = ::umask(0);
    EXPECT_EQ(makePrivateFile(folder / "file"), "");
    ::umask(before);
    EXPECT_EQ(modeOf(folder / "file"), 0600u);
    EXPECT_EQ(std::filesystem::file_size(folder / "file"), 0u);
}

TEST_F(PrivateFile, ComesWithItsFolder) {
    EXPECT_EQ(makePrivateFile(folder / "new" / "below" / "file"), "");
    EXPECT_EQ(modeOf(folder / "new" / "below" / "file"), 0600u);
}

TEST_F(PrivateFile, OneThatIsThereStaysAsItIs) {
    folder.write("file", "content");
    ASSERT_EQ(::chmod((folder / "file").c_str(), 0640), 0);
    EXPECT_EQ(makePrivateFile(folder / "file"), "");
    EXPECT_EQ(contentOf(folder / "file"), "content");
    EXPECT_EQ(modeOf(folder / "file"), 0640u);
}

TEST_F(PrivateFile, SaysWhyItCannotBeMade) {
    folder.write("file", "");
    EXPECT_THAT(makePrivateFile(folder / "file" / "below"), StartsWith("cannot make its folder: "));
    std::filesystem::create_directory(folder / "folder");
    EXPECT_THAT(makePrivateFile(folder / "folder"), StartsWith("cannot be opened: "));
}

}  // namespace
}  // namespace kelp::test
