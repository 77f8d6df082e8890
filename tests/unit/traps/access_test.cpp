#include <gmock/gmock.h>
#include <kelp/traps/access.h>

#include "support/temporary_directory.h"

namespace {

using kelp::test::TemporaryDirectory;
using kelp::traps::Community;
using kelp::traps::mayUseCommunity;
using kelp::traps::readCommunities;
using kelp::traps::readUsers;
using kelp::traps::User;
using kelp::util::parseHostAddress;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

class SecretFiles : public testing::Test {
  protected:
    std::filesystem::path secret(const std::string& text) {
        const std::filesystem::path file = folder_.write("secrets", text);
        std::filesystem::permissions(
            file, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
        return file;
    }

    TemporaryDirectory folder_;
    std::vector<std::string> problems_;
};

TEST_F(SecretFiles, HaveACommunityInEachLine) {
    const std::vector<Community> all = readCommunities(
        secret("# ours\npublic\n\n  secret 192.0.2.0/24 2001:db8::/32\n"), problems_);
    EXPECT_THAT(problems_, IsEmpty());
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_TRUE(mayUseCommunity(all, "public", parseHostAddress("198.51.100.1")));
    EXPECT_TRUE(mayUseCommunity(all, "secret", parseHostAddress("192.0.2.1")));
    EXPECT_TRUE(mayUseCommunity(all, "secret", parseHostAddress("2001:db8::1")));
    EXPECT_FALSE(mayUseCommunity(all, "secret", parseHostAddress("198.51.100.1")));
    EXPECT_FALSE(mayUseCommunity(all, "publi", parseHostAddress("192.0.2.1")));
    EXPECT_FALSE(mayUseCommunity(all, "", parseHostAddress("192.0.2.1")));
    EXPECT_FALSE(mayUseCommunity({}, "", parseHostAddress("192.0.2.1")));
}

TEST_F(SecretFiles, NameTheLineOfAProblemButNoSecret) {
    readCommunities(secret("public\nverysecret 192.0.2.0/99\n"), problems_);
    EXPECT_THAT(problems_, ElementsAre(HasSubstr("secrets:2: ")));
    EXPECT_THAT(problems_, ElementsAre(Not(HasSubstr("verysecret"))));
}

TEST_F(SecretFiles, MustBelongToTheirOwnerAlone) {
    const std::filesystem::path file = secret("public\n");
    std::filesystem::permissions(
        file, std::filesystem::perms::group_read | std::filesystem::perms::owner_read);
    EXPECT_THAT(readCommunities(file, problems_), IsEmpty());
    EXPECT_THAT(problems_, ElementsAre(HasSubstr("secrets: can be read by others")));
}

TEST_F(SecretFiles, HaveAUserInEachLine) {
    const std::vector<User> all =
        readUsers(secret("ne17 SHA-512 longpassword AES otherpassword engine=0x8000000001 "
                         "engine=8000000002\nmonitor SHA longpassword\n"),
                  problems_);
    EXPECT_THAT(problems_, IsEmpty());
    ASSERT_THAT(all, SizeIs(2));
    EXPECT_EQ(all[0].name, "ne17");
    EXPECT_EQ(all[0].authentication, kelp::traps::Authentication::Sha512);
    EXPECT_EQ(all[0].authenticationPassword.text(), "longpassword");
    EXPECT_TRUE(all[0].hasPrivacy);
    EXPECT_EQ(all[0].privacyPassword.text(), "otherpassword");
    EXPECT_THAT(all[0].engines, SizeIs(2));
    EXPECT_FALSE(all[1].hasPrivacy);
}

TEST_F(SecretFiles, RefuseUsersThatAreWrong) {
    for (const char* const line :
         {"ne17", "ne17 MD5 longpassword", "ne17 SHA short", "ne17 SHA longpassword AES",
          "ne17 SHA longpassword DES otherpassword", "ne17 SHA longpassword AES short",
          "ne17 SHA longpassword engine=12", "ne17 SHA longpassword AES otherpassword more",
          "a-name-of-more-than-thirty-two-bytes SHA longpassword",
          "ne17 SHA longpassword\nne17 SHA longpassword"}) {
        problems_.clear();
        readUsers(secret(line), problems_);
        EXPECT_THAT(problems_, ElementsAre(testing::AllOf(HasSubstr("secrets:"),
                                                          Not(HasSubstr("password AES other")),
                                                          Not(HasSubstr("longpassword")))))
            << line;
    }
}

}  // namespace
