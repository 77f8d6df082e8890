#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/util/private_file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/child.h"
#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using util::makePrivateFile;
using util::makePrivateFolder;
using util::openPrivateFile;

constexpr uid_t kServiceAccount = 54321;

mode_t modeOfPath(const std::filesystem::path& file) {
    return modeOf(file.c_str());
}

uid_t ownerOf(const std::filesystem::path& file) {
    struct stat status {};
    EXPECT_EQ(::lstat(file.c_str(), &status), 0) << file;
    return status.st_uid;
}

class PrivateFile : public testing::Test {
  protected:
    TemporaryDirectory folder;
};

class PrivateFileUnderUmask : public PrivateFile, public testing::WithParamInterface<mode_t> {};

TEST_P(PrivateFileUnderUmask, IsEmptyAndAccessibleToItsOwnerOnly) {
    EXPECT_TRUE(
        inChildWithUmask(GetParam(), [this] { return makePrivateFile(folder / "file").empty(); }));
    EXPECT_EQ(modeOfPath(folder / "file"), 0600u);
    EXPECT_EQ(std::filesystem::file_size(folder / "file"), 0u);
}

TEST_P(PrivateFileUnderUmask, MissingFoldersAreAccessibleToTheirOwnerOnly) {
    EXPECT_TRUE(inChildWithUmask(
        GetParam(), [this] { return makePrivateFile(folder / "new" / "below" / "file").empty(); }));
    EXPECT_EQ(modeOfPath(folder / "new"), 0700u);
    EXPECT_EQ(modeOfPath(folder / "new" / "below"), 0700u);
    EXPECT_EQ(modeOfPath(folder / "new" / "below" / "file"), 0600u);
}

INSTANTIATE_TEST_SUITE_P(Each, PrivateFileUnderUmask, testing::ValuesIn(kExtremeUmasks),
                         nameOfUmask);

TEST_F(PrivateFile, ExistingFileIsLeftUnchanged) {
    folder.write("file", "content");
    ASSERT_EQ(::chmod((folder / "file").c_str(), 0640), 0);
    EXPECT_EQ(makePrivateFile(folder / "file"), "");
    EXPECT_EQ(contentOf(folder / "file"), "content");
    EXPECT_EQ(modeOfPath(folder / "file"), 0640u);
}

TEST_F(PrivateFile, LocksOnAnExistingFileAreKept) {
    std::string problem;
    const util::Descriptor mine = openPrivateFile(folder / "file", 0, problem);
    struct flock whole {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    ASSERT_EQ(::fcntl(mine.get(), F_SETLK, &whole), 0);
    EXPECT_EQ(makePrivateFile(folder / "file"), "");
    const pid_t other = ::fork();
    if (other == 0)
        ::_exit(::fcntl(mine.get(), F_SETLK, &whole) == 0 ? 1 : 0);
    int status = -1;
    ASSERT_EQ(::waitpid(other, &status, 0), other);
    EXPECT_EQ(status, 0) << "another process could lock the file";
}

TEST_F(PrivateFile, FolderInItsPlaceIsRefused) {
    ASSERT_EQ(::mkdir((folder / "file").c_str(), 0700), 0);
    EXPECT_THAT(makePrivateFile(folder / "file"), StartsWith("cannot be opened: "));
}

TEST_F(PrivateFile, FileThatOthersCanWriteIsRefused) {
    folder.write("file", "content");
    ASSERT_EQ(::chmod((folder / "file").c_str(), 0602), 0);
    EXPECT_THAT(makePrivateFile(folder / "file"),
                StartsWith("can be written by others (mode 0602)"));
}

TEST_F(PrivateFile, IsNotMadeWhereOthersCanReplaceIt) {
    std::filesystem::create_directory(folder / "open");
    ASSERT_EQ(::chmod((folder / "open").c_str(), 0777), 0);
    EXPECT_THAT(makePrivateFile(folder / "open" / "file"),
                HasSubstr("can be written by others (mode 0777)"));
    EXPECT_THAT(makePrivateFile(folder / "open" / "new" / "file"),
                HasSubstr("can be written by others (mode 0777)"));
    EXPECT_TRUE(std::filesystem::is_empty(folder / "open"));
}

TEST_F(PrivateFile, ALinkInItsPlaceIsNotFollowed) {
    folder.write("victim", "content");
    std::filesystem::create_symlink(folder / "victim", folder / "file");
    std::filesystem::create_symlink(folder / "nowhere", folder / "dangling");
    for (const char* const name : {"file", "dangling"})
        EXPECT_THAT(makePrivateFile(folder / name), HasSubstr("is a symbolic link"));
    EXPECT_FALSE(std::filesystem::exists(folder / "nowhere"));
    EXPECT_EQ(contentOf(folder / "victim"), "content");
}

TEST_F(PrivateFile, LiesInAFolderThatALinkLeadsTo) {
    std::filesystem::create_directory(folder / "real");
    std::filesystem::create_symlink(folder / "real", folder / "link");
    EXPECT_EQ(makePrivateFile(folder / "link" / "file"), "");
    EXPECT_TRUE(std::filesystem::exists(folder / "real" / "file"));
}

TEST_F(PrivateFile, IsReplacedOnRequest) {
    std::string problem;
    EXPECT_TRUE(openPrivateFile(folder / "file", O_EXCL, problem).isOpen());
    EXPECT_FALSE(openPrivateFile(folder / "file", O_EXCL, problem).isOpen());
    EXPECT_THAT(problem, HasSubstr("File exists"));
}

TEST_F(PrivateFile, SaysWhyItCannotBeMade) {
    folder.write("file", "");
    EXPECT_THAT(makePrivateFile(folder / "file" / "below"), StartsWith("cannot make its folder: "));
    EXPECT_THAT(makePrivateFolder(folder / "file" / "below"), StartsWith("Not a directory"));
    std::filesystem::create_directory(folder / "folder");
    EXPECT_THAT(makePrivateFile(folder / "folder"), StartsWith("cannot be opened: "));
}

TEST_F(PrivateFile, MadeByRootBelongsToTheOwnerOfItsFolder) {
    const bool isRoot = ::geteuid() == 0;
    const uid_t expected = isRoot ? kServiceAccount : ::geteuid();
    if (isRoot) {
        ASSERT_EQ(::chown(folder.path().c_str(), kServiceAccount, kServiceAccount), 0);
    }
    EXPECT_EQ(makePrivateFile(folder / "new" / "file"), "");
    EXPECT_EQ(ownerOf(folder / "new"), expected);
    EXPECT_EQ(ownerOf(folder / "new" / "file"), expected);
}

}  // namespace
}  // namespace kelp::test
