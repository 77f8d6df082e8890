#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/util/file_trust.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/child.h"
#include "support/temporary_directory.h"

namespace kelp::test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;
using util::FileUse;
using util::FinalLink;
using util::problemOfTrust;
using util::readTrustedFile;

constexpr uid_t kService = 54321;
constexpr uid_t kStranger = 54322;

class FileTrust : public testing::Test {
  protected:
    /// Write a file with this mode.
    std::filesystem::path file(mode_t mode) const {
        const std::filesystem::path made = folder.write("file", "content");
        EXPECT_EQ(::chmod(made.c_str(), mode), 0);
        return made;
    }
    void setFolderMode(mode_t mode) const { ASSERT_EQ(::chmod(folder.path().c_str(), mode), 0); }

    TemporaryDirectory folder;
};

TEST_F(FileTrust, IsGivenToWhatOnlyItsOwnerWrites) {
    for (const mode_t mode : {0400u, 0600u, 0644u, 0444u})
        EXPECT_EQ(problemOfTrust(file(mode)), "") << mode;
    EXPECT_EQ(problemOfTrust(folder.path()), "");
    EXPECT_EQ(problemOfTrust(folder / "missing"), "");
    EXPECT_EQ(problemOfTrust("/etc/passwd"), "");
    EXPECT_EQ(problemOfTrust("/dev/null"), "");
}

TEST_F(FileTrust, IsNotGivenToWhatOthersCanWrite) {
    EXPECT_EQ(problemOfTrust(file(0666)), "can be written by others (mode 0666)");
    EXPECT_EQ(problemOfTrust(file(0602)), "can be written by others (mode 0602)");
    setFolderMode(0777);
    EXPECT_EQ(problemOfTrust(folder.path()), "can be written by others (mode 0777)");
}

TEST_F(FileTrust, DependsOnTheGroupThatCanWrite) {
    ASSERT_EQ(::chown(file(0664).c_str(), static_cast<uid_t>(-1), ::getegid()), 0);
    // Root's own group. The group of another user is judged by the system's account files.
    if (::getegid() == 0) {
        EXPECT_EQ(problemOfTrust(folder / "file"), "");
        ASSERT_EQ(::chown((folder / "file").c_str(), 0, kStranger), 0);
        EXPECT_EQ(problemOfTrust(folder / "file"), "can be written by its group (mode 0664)");
        // "mail" is not root's private group
        ASSERT_EQ(::chown((folder / "file").c_str(), 0, 8), 0);
        EXPECT_EQ(problemOfTrust(folder / "file"), "can be written by its group (mode 0664)");
    }
}

TEST_F(FileTrust, OfASecretAllowsNoOtherReader) {
    EXPECT_EQ(problemOfTrust(file(0600), FileUse::Secret), "");
    for (const mode_t mode : {0640u, 0604u, 0610u, 0601u})
        EXPECT_THAT(problemOfTrust(file(mode), FileUse::Secret),
                    StartsWith("can be read by others"))
            << mode;
}

TEST_F(FileTrust, DependsOnTheFoldersAbove) {
    std::filesystem::create_directories(folder / "one" / "two");
    const std::filesystem::path file = folder / "one" / "two" / "file";
    folder.write("one/two/file", "");
    setFolderMode(0777);
    EXPECT_EQ(problemOfTrust(file), "lies below " + folder.path().string() +
                                        ", which can be written by others (mode 0777)");
    EXPECT_EQ(problemOfTrust(folder / "missing"),
              "lies in " + folder.path().string() + ", which can be written by others (mode 0777)");
    setFolderMode(01777);
    EXPECT_EQ(problemOfTrust(file), "");
    EXPECT_EQ(problemOfTrust(folder / "missing"), "");
}

TEST_F(FileTrust, IsNotGivenToALink) {
    std::filesystem::create_symlink(file(0600), folder / "link");
    EXPECT_EQ(problemOfTrust(folder / "link"), "is a symbolic link, which is not followed");
    EXPECT_EQ(problemOfTrust(folder / "link", FileUse::Trusted, FinalLink::IsFollowed), "");
    file(0666);
    EXPECT_EQ(
        problemOfTrust(folder / "link", FileUse::Trusted, FinalLink::IsFollowed),
        "leads to " + (folder / "file").string() + ", which can be written by others (mode 0666)");
}

TEST_F(FileTrust, HoldsForAFolderThatALinkLeadsTo) {
    std::filesystem::create_directory(folder / "real");
    std::filesystem::create_directory_symlink(folder / "real", folder / "link");
    folder.write("real/file", "");
    EXPECT_EQ(problemOfTrust(folder / "link" / "file"), "");
    EXPECT_EQ(util::inRealFolder(folder / "link" / "file"), folder / "real" / "file");
    ASSERT_EQ(::chmod((folder / "real").c_str(), 0777), 0);
    EXPECT_THAT(problemOfTrust(folder / "link" / "file"),
                HasSubstr("can be written by others (mode 0777)"));
}

/// Tests that need files of several users, which only root can create.
class FileTrustOfUsers : public FileTrust {
  protected:
    void give(const std::filesystem::path& path, uid_t user) const {
        if (::geteuid() == 0) {
            ASSERT_EQ(::lchown(path.c_str(), user, user), 0);
        }
    }
    /// True if a process of that user trusts the file. If the test does not run as root, the file
    /// and the process belong to its own user.
    bool isTrustedBy(uid_t user, const std::filesystem::path& path) const {
        return inChild([&] {
            if (::geteuid() == 0 && ::setuid(user) != 0)
                return false;
            return problemOfTrust(path).empty();
        });
    }
};

TEST_F(FileTrustOfUsers, IsGivenToRootAndTheUserOfTheProcess) {
    give(folder.path(), kService);
    give(file(0644), kService);
    EXPECT_TRUE(isTrustedBy(kService, folder / "file"));
    give(folder / "file", 0);
    EXPECT_TRUE(isTrustedBy(kService, folder / "file"));
    EXPECT_TRUE(isTrustedBy(kService, folder.path()));
}

TEST_F(FileTrustOfUsers, IsNotGivenToAStranger) {
    if (::geteuid() != 0) {
        EXPECT_FALSE(isTrustedBy(0, file(0666)));
        return;
    }
    setFolderMode(0755);
    give(file(0644), kStranger);
    EXPECT_FALSE(isTrustedBy(kService, folder / "file"));
    EXPECT_THAT(problemOfTrust(folder / "file"), StartsWith("belongs to user 54322"));
    give(folder / "file", kService);
    give(folder.path(), kStranger);
    EXPECT_FALSE(isTrustedBy(kService, folder / "file"));
    EXPECT_FALSE(isTrustedBy(kService, folder.path()));
}

TEST_F(FileTrustOfUsers, RootWorksForTheOwnerOfTheFolder) {
    give(folder.path(), kService);
    give(file(0600), kService);
    EXPECT_EQ(problemOfTrust(folder / "file"), "");
}

TEST_F(FileTrust, AFileIsReadAfterTheSameCheck) {
    std::string problem;
    EXPECT_EQ(readTrustedFile(file(0600), FileUse::Secret, problem), "content");
    EXPECT_EQ(readTrustedFile(file(0644), FileUse::Trusted, problem), "content");
    EXPECT_FALSE(readTrustedFile(file(0644), FileUse::Secret, problem));
    EXPECT_THAT(problem, StartsWith("can be read by others"));
    EXPECT_FALSE(readTrustedFile(file(0666), FileUse::Trusted, problem));
    EXPECT_THAT(problem, StartsWith("can be written by others"));
    std::filesystem::create_symlink(file(0600), folder / "link");
    EXPECT_FALSE(readTrustedFile(folder / "link", FileUse::Trusted, problem));
    EXPECT_THAT(problem, StartsWith("is a symbolic link"));
    EXPECT_FALSE(readTrustedFile(folder.path(), FileUse::Trusted, problem));
    EXPECT_EQ(problem, "cannot be read: Is a directory");
    EXPECT_FALSE(readTrustedFile(folder / "missing", FileUse::Trusted, problem));
    EXPECT_EQ(problem, "cannot be read: No such file or directory");
    EXPECT_FALSE(readTrustedFile(file(0600), FileUse::Trusted, problem, 3));
    EXPECT_EQ(problem, "is longer than 3 bytes");
    EXPECT_EQ(readTrustedFile("/dev/null", FileUse::Trusted, problem), "");
}

}  // namespace
}  // namespace kelp::test
