#include <nlohmann/json.hpp>

#include "kelpctl_fixture.h"

using kelp::test::KelpctlTest;
using kelp::test::ToolRun;

namespace {

class UserCommands : public KelpctlTest {};

TEST_F(UserCommands, AddMakesTheDatabaseAndTheUser) {
    const ToolRun run = kelpctl("user add nms1 --password-file pw");
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_EQ(run.output, "user \"nms1\" added\n");
    EXPECT_EQ(run.errors, "");
    EXPECT_TRUE(hasPassword("nms1", "old secret"));
}

TEST_F(UserCommands, ThePasswordIsTheFilesFirstLine) {
    secretFile("lines", "first line\r\nsecond line\n");
    ASSERT_EQ(kelpctl("user add nms1 --password-file lines").status, 0);
    EXPECT_TRUE(hasPassword("nms1", "first line"));
    secretFile("unended", "no line end");
    ASSERT_EQ(kelpctl("user add nms2 --password-file unended").status, 0);
    EXPECT_TRUE(hasPassword("nms2", "no line end"));
}

TEST_F(UserCommands, NoPasswordIsRefused) {
    secretFile("empty", "\nsecond\n");
    EXPECT_TRUE(kelpctl("user add nms1 --password-file empty")
                    .failedWith(1, "the password must not be empty"));
    EXPECT_TRUE(
        kelpctl("user add nms1 --password-file missing").failedWith(1, "missing: No such file"));
    const ToolRun run = kelpctl("user add nms1");
    EXPECT_TRUE(run.failedWith(1, "use --password-file")) << run;
}

TEST_F(UserCommands, AShortPasswordNeedsForce) {
    secretFile("seven", "1234567\n");
    secretFile("eight", "12345678\n");
    const char* const refusal =
        "the password must have at least 8 characters; --force accepts a shorter one";
    EXPECT_TRUE(kelpctl("user add nms1 --password-file seven").failedWith(1, refusal));
    EXPECT_FALSE(kelp::users::UserDatabase(database).find("nms1"));
    EXPECT_EQ(kelpctl("user add nms1 --password-file eight").status, 0);
    EXPECT_TRUE(kelpctl("user passwd nms1 --password-file seven").failedWith(1, refusal));
    EXPECT_TRUE(hasPassword("nms1", "12345678"));
    EXPECT_EQ(kelpctl("user passwd nms1 --force --password-file seven").status, 0);
    EXPECT_TRUE(hasPassword("nms1", "1234567"));
    EXPECT_EQ(kelpctl("user add nms2 --password-file seven --force").status, 0);
    secretFile("empty", "\n");
    EXPECT_TRUE(kelpctl("user passwd nms1 --force --password-file empty")
                    .failedWith(1, "the password must not be empty"));
}

TEST_F(UserCommands, APasswordsLengthIsCountedInCharactersAndItsLimitInOctets) {
    secretFile("seven", "\u00e4\u00f6\u00fc\u00df\u20ac\u00e9\u00e8\n");
    secretFile("eight", "\u00e4\u00f6\u00fc\u00df\u20ac\u00e9\u00e8\u00ea\n");
    EXPECT_TRUE(
        kelpctl("user add nms1 --password-file seven").failedWith(1, "at least 8 characters"));
    EXPECT_EQ(kelpctl("user add nms1 --password-file eight").status, 0);
    secretFile("longest", std::string(1024, 'x') + "\n");
    secretFile("too-long", std::string(1025, 'x') + "\n");
    EXPECT_EQ(kelpctl("user passwd nms1 --password-file longest").status, 0);
    EXPECT_TRUE(kelpctl("user passwd nms1 --force --password-file too-long")
                    .failedWith(1, "at most 1024 bytes"));
}

TEST_F(UserCommands, AConfigurationOrDatabaseThatOthersCanWriteIsRefused) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    using std::filesystem::perms;
    std::filesystem::permissions(database, perms::others_write, std::filesystem::perm_options::add);
    EXPECT_TRUE(
        kelpctl("user list")
            .failedWith(1, database.string() + ": it can be written by others (mode 0602)"));
    EXPECT_TRUE(kelpctl("user add nms2 --password-file pw")
                    .failedWith(1, database.string() + ": can be written by others (mode 0602)"));
    std::filesystem::permissions(database, perms::owner_read | perms::owner_write);
    EXPECT_EQ(kelpctl("user list").status, 0);
    std::filesystem::permissions(folder / "kelp.toml", perms::all);
    EXPECT_TRUE(
        kelpctl("user list").failedWith(1, "kelp.toml: can be written by others (mode 0777)"));
}

TEST_F(UserCommands, APasswordFileThatOthersCanReadIsWarnedAbout) {
    std::filesystem::permissions(folder.path() / "pw", std::filesystem::perms::group_read,
                                 std::filesystem::perm_options::add);
    const ToolRun run = kelpctl("user add nms1 --password-file pw");
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "kelpctl: warning: others can read the password file pw\n");
}

TEST_F(UserCommands, UnknownCommandIsNamed) {
    EXPECT_TRUE(kelpctl("frobnicate").failedWith(2, "\"frobnicate\" is not a command or option"));
    EXPECT_TRUE(
        kelpctl("user frobnicate").failedWith(2, "\"frobnicate\" is not a command or option"));
    EXPECT_TRUE(kelpctl("user").failedWith(2, "A subcommand is required"));
}

TEST_F(UserCommands, AddTwiceFails) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    secretFile("other", "another secret\n");
    const ToolRun run = kelpctl("user add nms1 --password-file other");
    EXPECT_TRUE(run.failedWith(1, "user \"nms1\" already exists")) << run;
    EXPECT_TRUE(hasPassword("nms1", "old secret"));
}

TEST_F(UserCommands, AnInvalidNameIsRefused) {
    const ToolRun run = kelpctl("user add 'a<b' --password-file pw");
    EXPECT_TRUE(run.failedWith(1, "'<' or '>'")) << run;
}

TEST_F(UserCommands, ListShowsEveryUserAsATable) {
    ASSERT_EQ(kelpctl("user add nms2 --password-file pw").status, 0);
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    ASSERT_EQ(kelpctl("user disable nms2").status, 0);
    const ToolRun run = kelpctl("user list");
    EXPECT_EQ(run.status, 0);
    const std::size_t header = run.output.find("NAME  STATE");
    const std::size_t first = run.output.find("nms1  enabled");
    const std::size_t second = run.output.find("nms2  disabled");
    EXPECT_EQ(header, 0u) << run;
    EXPECT_LT(first, second) << run;
    EXPECT_NE(second, std::string::npos) << run;
}

TEST_F(UserCommands, ListWritesJson) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    ASSERT_EQ(kelpctl("user disable nms1").status, 0);
    const ToolRun run = kelpctl("user list --json");
    ASSERT_EQ(run.status, 0);
    const nlohmann::json users = nlohmann::json::parse(run.output);
    ASSERT_EQ(users.size(), 1u);
    EXPECT_EQ(users[0].at("name"), "nms1");
    EXPECT_EQ(users[0].at("enabled"), false);
    EXPECT_EQ(users[0].at("state"), "disabled");
    EXPECT_TRUE(users[0].at("expires").is_null());
    EXPECT_GT(users[0].at("id").get<int>(), 0);
    EXPECT_EQ(users[0].at("created").get<std::string>().size(),
              std::string("2025-03-01T12:00:00Z").size());
    EXPECT_EQ(run.output.find("argon2"), std::string::npos);
}

TEST_F(UserCommands, ListOfNobodyIsAnEmptyArray) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    ASSERT_EQ(kelpctl("user remove nms1").status, 0);
    EXPECT_EQ(kelpctl("user list --json").output, "[]\n");
}

TEST_F(UserCommands, PasswdReplacesThePassword) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    secretFile("new", "new secret\n");
    const ToolRun run = kelpctl("user passwd nms1 --password-file new");
    EXPECT_EQ(run.status, 0) << run;
    EXPECT_FALSE(hasPassword("nms1", "old secret"));
    EXPECT_TRUE(hasPassword("nms1", "new secret"));
}

TEST_F(UserCommands, DisableAndEnableSwitchTheAccount) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    EXPECT_EQ(kelpctl("user disable nms1").output, "user \"nms1\" disabled\n");
    EXPECT_FALSE(kelp::users::UserDatabase(database).find("nms1")->enabled);
    EXPECT_EQ(kelpctl("user enable nms1").output, "user \"nms1\" enabled\n");
    EXPECT_TRUE(kelp::users::UserDatabase(database).find("nms1")->enabled);
}

TEST_F(UserCommands, ExpireSaysWhenTheAccountEnds) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    const auto expiry = [this] {
        return kelp::users::UserDatabase(database).find("nms1")->expiresUtc;
    };
    EXPECT_EQ(expiry(), std::nullopt);
    EXPECT_EQ(kelpctl("user expire nms1 2100-03-01").output,
              "user \"nms1\" expires at 2100-03-01T00:00:00Z\n");
    EXPECT_EQ(expiry(), 4107542400);
    EXPECT_EQ(kelpctl("user expire nms1 2100-03-01T00:01:00Z").status, 0);
    EXPECT_EQ(expiry(), 4107542460);
    EXPECT_NE(kelpctl("user list").output.find("2100-03-01T00:01:00Z"), std::string::npos);
    EXPECT_EQ(kelpctl("user expire nms1 now").status, 0);
    EXPECT_NE(kelpctl("user list").output.find("nms1  expired"), std::string::npos);
    EXPECT_EQ(kelpctl("user expire nms1 never").output, "user \"nms1\" never expires\n");
    EXPECT_EQ(expiry(), std::nullopt);
    EXPECT_NE(kelpctl("user list").output.find("nms1  enabled"), std::string::npos);
}

TEST_F(UserCommands, AnInvalidTimeIsRefused) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    for (const char* time : {"soon", "2100-02-30", "2100-13-01", "2100-03-01T24:60:00Z",
                             "2100-03-01 12:00", "2100-03-01T12:00:00", ""}) {
        const ToolRun run = kelpctl(std::string("user expire nms1 ") + "'" + time + "'");
        EXPECT_TRUE(run.failedWith(1, "is not a time")) << time << ": " << run;
    }
    EXPECT_EQ(kelp::users::UserDatabase(database).find("nms1")->expiresUtc, std::nullopt);
}

TEST_F(UserCommands, NetworksSayWhereTheUserMayLogInFrom) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    EXPECT_NE(kelpctl("user list").output.find("  any\n"), std::string::npos);
    EXPECT_EQ(kelpctl("user networks nms1 10.1.0.0/16 2001:db8::/32").output,
              "user \"nms1\" may log in from: 10.1.0.0/16 2001:db8::/32\n");
    EXPECT_NE(kelpctl("user list").output.find("  10.1.0.0/16 2001:db8::/32  any\n"),
              std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(kelpctl("user list --json").output)[0].at("networks").size(),
              2u);
    const ToolRun run = kelpctl("user networks nms1 10.1.0.0/33");
    EXPECT_TRUE(run.failedWith(1, "\"10.1.0.0/33\" needs a prefix length from 0 to 32")) << run;
    EXPECT_TRUE(
        kelpctl("user networks nms1 nms.example").failedWith(1, "neither an IPv4 nor an IPv6"));
    EXPECT_EQ(kelp::users::UserDatabase(database).find("nms1")->networks.size(), 2u);
    EXPECT_EQ(kelpctl("user networks nms1 any").output, "user \"nms1\" may log in from: any\n");
    EXPECT_TRUE(kelp::users::UserDatabase(database).find("nms1")->networks.empty());
}

TEST_F(UserCommands, TlsBindsTheUserToCertificates) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    EXPECT_EQ(kelpctl("user tls nms1 --subject 'cn=nms1, O=Operator' --subject CN=standby").output,
              "user \"nms1\" may log in with a certificate of: CN=nms1,O=Operator; CN=standby\n");
    EXPECT_NE(
        kelpctl("user list").output.find("  any              CN=nms1,O=Operator; CN=standby\n"),
        std::string::npos);
    EXPECT_EQ(nlohmann::json::parse(kelpctl("user list --json").output)[0].at("subjects"),
              nlohmann::json::parse(R"(["CN=nms1,O=Operator", "CN=standby"])"));
    EXPECT_TRUE(kelpctl("user tls nms1 --subject nms1").failedWith(1, "\"nms1\" is not a subject"));
    for (const char* const nonsense : {"user tls nms1", "user tls nms1 --any --subject CN=a"})
        EXPECT_TRUE(kelpctl(nonsense).failedWith(
            1, "give either --subject, once or several times, or --any"))
            << nonsense;
    EXPECT_EQ(kelp::users::UserDatabase(database).find("nms1")->subjects.size(), 2u);
    EXPECT_EQ(kelpctl("user tls nms1 --any").output,
              "user \"nms1\" may log in with a certificate of: any\n");
    EXPECT_TRUE(kelp::users::UserDatabase(database).find("nms1")->subjects.empty());
}

TEST_F(UserCommands, UnlockTellsTheHost) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    const std::int64_t before = kelp::users::UserDatabase(database).find("nms1")->unlocks;
    EXPECT_EQ(kelpctl("user unlock nms1").output, "user \"nms1\" unlocked\n");
    EXPECT_GT(kelp::users::UserDatabase(database).find("nms1")->unlocks, before);
}

TEST_F(UserCommands, RemoveTakesTheUserOut) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    EXPECT_EQ(kelpctl("user remove nms1").status, 0);
    EXPECT_FALSE(kelp::users::UserDatabase(database).find("nms1"));
}

TEST_F(UserCommands, AnUnknownUserIsAnErrorEverywhere) {
    ASSERT_EQ(kelpctl("user add nms1 --password-file pw").status, 0);
    for (const char* command :
         {"disable nobody", "enable nobody", "remove nobody", "passwd nobody --password-file pw",
          "expire nobody never", "networks nobody any", "tls nobody --any", "unlock nobody"}) {
        const ToolRun run = kelpctl(std::string("user ") + command);
        EXPECT_TRUE(run.failedWith(1, "there is no user \"nobody\"")) << command << ": " << run;
    }
}

TEST_F(UserCommands, AMissingDatabaseIsNotCreatedByCommandsThatOnlyRead) {
    for (const char* command :
         {"list", "disable nms1", "enable nms1", "remove nms1", "expire nms1 now",
          "networks nms1 any", "tls nms1 --any", "unlock nms1"}) {
        const ToolRun run = kelpctl(std::string("user ") + command);
        EXPECT_TRUE(run.failedWith(1, "users.db does not exist")) << command << ": " << run;
    }
    EXPECT_FALSE(std::filesystem::exists(database));
}

TEST_F(UserCommands, TheDatabaseIsTheGivenOneElseTheConfiguredOne) {
    folder.write(
        "other.toml",
        "[security]\ndatabase = \"configured.db\"\nhash_memory_kib = 8\nhash_passes = 1\n");
    ASSERT_EQ(tool("--config other.toml user add nms1 --password-file pw").status, 0);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "configured.db"));
    ASSERT_EQ(
        tool("user --database told.db add nms1 --password-file pw --config other.toml").status, 0);
    EXPECT_TRUE(std::filesystem::exists(folder.path() / "told.db"));
    EXPECT_FALSE(std::filesystem::exists(database));
}

TEST_F(UserCommands, ADamagedDatabaseIsAnError) {
    folder.write("users.db", std::string(4096, 'x'));
    const ToolRun run = kelpctl("user list");
    EXPECT_TRUE(run.failedWith(1, "users.db is damaged")) << run;
}

TEST_F(UserCommands, AWrongConfigurationIsNamedWithItsLine) {
    folder.write("kelp.toml", "[security]\nhash_memory_kib = \"much\"\nnonsense = 1\n");
    const ToolRun run = kelpctl("user list");
    EXPECT_TRUE(run.failedWith(1, "kelp.toml:2: security.hash_memory_kib")) << run;
    EXPECT_NE(run.errors.find("(and 1 more)"), std::string::npos) << run;
}

TEST_F(UserCommands, AWrongCommandLineIsStatusTwo) {
    for (const char* arguments :
         {"", "user", "user add", "user bogus", "user list --nonsense", "user list nms1"}) {
        const ToolRun run = kelpctl(arguments);
        EXPECT_TRUE(run.failedWith(2, "--help")) << arguments << ": " << run;
    }
}

TEST_F(UserCommands, HelpShowsExamples) {
    for (const char* arguments : {"--help", "user --help"}) {
        const ToolRun run = tool(arguments);
        EXPECT_EQ(run.status, 0) << run;
        EXPECT_NE(run.output.find("Examples:"), std::string::npos) << run;
        EXPECT_EQ(run.errors, "");
    }
    EXPECT_NE(tool("user add --help").output.find("--password-file"), std::string::npos);
}

}  // namespace
