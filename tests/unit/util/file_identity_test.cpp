#include <gtest/gtest.h>
#include <kelp/util/file_identity.h>

#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

using util::FileIdentity;
using util::identityOf;

class FileIdentityOf : public testing::Test {
  protected:
    TemporaryDirectory folder;
    const std::filesystem::path file = folder.write("file", "a");
};

TEST_F(FileIdentityOf, AFileStaysTheSameWhateverIsWritten) {
    const FileIdentity before = identityOf(file);
    folder.write("file", "b");
    EXPECT_EQ(identityOf(file), before);
    std::filesystem::create_hard_link(file, folder / "link");
    EXPECT_EQ(identityOf(folder / "link"), before);
}

TEST_F(FileIdentityOf, AnotherFileOfTheSameNameIsAnother) {
    const FileIdentity before = identityOf(file);
    std::filesystem::rename(file, folder / "kept");
    folder.write("file", "a");
    EXPECT_NE(identityOf(file), before);
    EXPECT_EQ(identityOf(folder / "kept"), before);
}

TEST_F(FileIdentityOf, AMissingFileIsNone) {
    EXPECT_EQ(identityOf(folder / "missing"), FileIdentity());
    EXPECT_NE(identityOf(file), FileIdentity());
}

}  // namespace
}  // namespace kelp::test
