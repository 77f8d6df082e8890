#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_schema.h>
#include <kelp/bundlemgr/config_store.h>

#include <string>
#include <utility>
#include <vector>

#include "support/temporary_directory.h"

namespace {

using NS_BUNDLEMGR1::ConfigKey;
using NS_BUNDLEMGR1::ConfigProblem;
using NS_BUNDLEMGR1::ConfigStore;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> check(const std::string& toml) {
    const kelp::test::TemporaryDirectory directory;
    const auto file = directory.write("kelp.toml", toml);
    std::vector<std::string> texts;
    for (const ConfigProblem& problem : ConfigStore::check(file)) {
        EXPECT_EQ(problem.file, file.string());
        texts.push_back(std::to_string(problem.line) + ": " + problem.key + ": " + problem.what);
    }
    return texts;
}

TEST(ConfigChecks, EmptyFileIsValid) {
    EXPECT_THAT(check(""), IsEmpty());
}

TEST(ConfigChecks, CheckAppliesNothing) {
    EXPECT_THAT(check("[ems]\nname = \"Acme/North\"\n"), IsEmpty());
    EXPECT_EQ(ConfigStore::instance().text("ems.name"), "Kelp/EMS");
}

TEST(ConfigChecks, ATextWithAZeroCharacterIsRefused) {
    // system calls would ignore everything after the zero character
    EXPECT_THAT(
        check("[trace]\nfile = \"/var/log/kelp\\u0000.log\"\n"),
        ElementsAre("2: trace.file: must be a text, but is one with a zero character in it"));
    EXPECT_THAT(
        check("[access]\nallowed_oss = [\"127.0.0.1\", \"10.0.0.0\\u0000/8\"]\n"),
        ElementsAre("2: access.allowed_oss: must be a list of texts, but is a list with a zero "
                    "character in it"));
    EXPECT_THAT(
        check("[agent]\nFTP_TrustedCer = \"a\\u0000b\"\n"),
        ElementsAre(
            "2: agent.FTP_TrustedCer: must be a text, but is one with a zero character in it"));
}

/// Return the UTF-8 form of a character that takes two or three bytes.
std::string utf8(char32_t character) {
    const auto follows = [](char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3f)); };
    if (character < 0x800)
        return {static_cast<char>(0xc0 | character >> 6), follows(character)};
    return {static_cast<char>(0xe0 | character >> 12), follows(character >> 6), follows(character)};
}

TEST(ConfigChecks, ACharacterBeyondAsciiOutsideOfTextsIsNoToml) {
    // the parser marks its code for these ranges as unreachable, but reaches it
    const std::pair<char32_t, char32_t> ranges[] = {
        {0xa1, 0x499}, {0x2c8e, 0x2fff}, {0xfe86, 0xfefe}};
    for (const auto& [first, last] : ranges) {
        for (char32_t character = first; character <= last; ++character) {
            const auto problems = ConfigStore::instance().loadText(utf8(character), "kelp.toml");
            ASSERT_EQ(problems.size(), 1u) << static_cast<unsigned long>(character);
            ASSERT_THAT(problems[0].text(), HasSubstr("kelp.toml:1: is not valid TOML: "));
        }
    }
    EXPECT_THAT(check("[ems]\nname = \"\"\"\\\n\xc2\xa7/EMS\"\"\"\n"), IsEmpty());
}

TEST(ConfigChecks, EveryIntervalAndTimeOutIsOneSecondToOneDay) {
    int intervals = 0;
    for (const ConfigKey& key : NS_BUNDLEMGR1::configKeys()) {
        if (!key.key.ends_with("_s") || key.key == "heartbeat_s")
            continue;
        ++intervals;
        const std::string before = "[" + key.table + "]\n" + key.key + " = ";
        EXPECT_THAT(check(before + "1\n"), IsEmpty()) << key.name();
        EXPECT_THAT(check(before + "86400\n"), IsEmpty()) << key.name();
        const std::string problem =
            "2: " + key.name() + ": must be an integer from 1 to 86400, but is ";
        EXPECT_THAT(check(before + "0\n"), ElementsAre(problem + "0"));
        EXPECT_THAT(check(before + "86401\n"), ElementsAre(problem + "86401"));
        EXPECT_THAT(check(before + "-1\n"), ElementsAre(problem + "-1"));
    }
    EXPECT_GE(intervals, 3);
}

TEST(ConfigChecks, ExternalNotificationServiceNeedsAHostThatCanBeCalled) {
    const std::string external = "[notification]\nmode = \"external\"\n";
    for (const std::string host : {"", "0.0.0.0", "::", "two words"})
        EXPECT_THAT(
            check(external + "host = \"" + host + "\"\n"),
            ElementsAre(HasSubstr("3: notification.host: must be a host that can be called")))
            << host;
    EXPECT_THAT(check(external + "host = \"notify.example.net\"\n"), IsEmpty());
    EXPECT_THAT(check("[notification]\nhost = \"0.0.0.0\"\n"), IsEmpty()) << "nobody calls it";
}

TEST(ConfigChecks, ExternalNotificationServiceIsReachedOverTlsWhenThatIsOn) {
    const std::string tls =
        "[tls]\nmode = 1\nca = \"/dev/null\"\ncertificate = \"/dev/null\"\n"
        "[naming]\nssl_port = 4844\n[notification]\n";
    EXPECT_THAT(check(tls + "mode = \"external\"\n"),
                ElementsAre(HasSubstr("notification.ssl_port: must name a port")));
    EXPECT_THAT(check(tls + "mode = \"external\"\nssl_port = 4843\n"), IsEmpty());
    EXPECT_THAT(check(tls), IsEmpty());
}

TEST(ConfigChecks, HeartbeatMayBeSwitchedOff) {
    EXPECT_THAT(check("[notification]\nheartbeat_s = 0\n"), IsEmpty());
    EXPECT_THAT(check("[notification]\nheartbeat_s = 86401\n"), testing::SizeIs(1));
}

TEST(ConfigChecks, EmsNameHasTwoParts) {
    for (const std::string name : {"Kelp", "/EMS", "Kelp/", "Kelp/EMS/North", ""}) {
        EXPECT_THAT(
            check("[ems]\nname = \"" + name + "\"\n"),
            ElementsAre(
                "2: ems.name: must have the form CompanyName/EMSName (TMF 814 SD1-43), but is \"" +
                name + "\""));
    }
}

TEST(ConfigChecks, VersionIsNumbersWithDots) {
    EXPECT_THAT(check("[ems]\nversion = \"3.0\"\n"), IsEmpty());
    for (const std::string version : {"", "3.", ".5", "3..5", "v3.5"})
        EXPECT_THAT(check("[ems]\nversion = \"" + version + "\"\n"), testing::SizeIs(1)) << version;
}

TEST(ConfigChecks, WildcardAddressNeedsAPublishedOne) {
    for (const std::string listen :
         {"0.0.0.0:4800", "[::]:4800", "[0:0:0:0:0:0:0:0]:4800", "0:4800", "*:4800", ":4800"}) {
        EXPECT_THAT(
            check("[orb]\nlisten = \"" + listen + "\"\n"),
            ElementsAre(HasSubstr("2: orb.listen: \"" + listen + "\" is a wildcard address")))
            << listen;
        EXPECT_THAT(check("[orb]\nlisten = \"" + listen + "\"\npublish = \"ems.example.com\"\n"),
                    IsEmpty());
    }
}

TEST(ConfigChecks, ListenAddressHasHostAndPort) {
    for (const std::string listen :
         {"127.0.0.1:0", "ems.example.com:4800", "[::1]:4800", "10.0.0.1:65535"})
        EXPECT_THAT(check("[orb]\nlisten = \"" + listen + "\"\n"), IsEmpty()) << listen;
    for (const std::string listen :
         {"127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:48x", "::1:4800",
          "[::1]", "[ems]:4800", "", "giop:tcp::4800"}) {
        EXPECT_THAT(check("[orb]\nlisten = \"" + listen + "\"\n"),
                    ElementsAre("2: orb.listen: must be host:port or [ipv6]:port, but is \"" +
                                listen + "\""));
    }
}

TEST(ConfigChecks, PublishedAddressCanBeCalled) {
    for (const std::string publish :
         {"ems.example.com", "10.0.0.1", "10.0.0.1:4800", "[2001:db8::1]:4800"})
        EXPECT_THAT(check("[orb]\npublish = \"" + publish + "\"\n"), IsEmpty()) << publish;
    for (const std::string publish : {"0.0.0.0", "[::]:4800", "two words", "http://ems"})
        EXPECT_THAT(check("[orb]\npublish = \"" + publish + "\"\n"), testing::SizeIs(1)) << publish;
}

const std::string kNamingOverTls = "[naming]\nssl_port = 4844\n";

TEST(ConfigChecks, NamingServiceIsReachedOverTlsWhenThatIsOn) {
    const std::string tls = "[tls]\nmode = 1\nca = \"/dev/null\"\ncertificate = \"/dev/null\"\n";
    for (const std::string embedded : {"true", "false"}) {
        const std::string naming = "[naming]\nembedded = " + embedded + "\n";
        EXPECT_THAT(check(tls + naming),
                    ElementsAre(HasSubstr(
                        "naming.ssl_port: must name a port: the naming service is reached "
                        "over TLS")));
        EXPECT_THAT(check(tls + naming + "ssl_port = 4844\n"), IsEmpty());
        EXPECT_THAT(check(naming), IsEmpty());
    }
}

TEST(ConfigChecks, TlsNeedsItsFiles) {
    EXPECT_THAT(
        check("[tls]\nmode = 1\n" + kNamingOverTls),
        ElementsAre(
            "0: tls.ca: is missing: tls.mode is not 0, which needs tls.ca and tls.certificate",
            "0: tls.certificate: is missing: tls.mode is not 0, which needs tls.ca and "
            "tls.certificate"));
    EXPECT_THAT(
        check("[tls]\nmode = 2\nca = \"/nowhere/ca.pem\"\ncertificate = \"/dev/null\"\n" +
              kNamingOverTls),
        ElementsAre(
            "3: tls.ca: the file \"/nowhere/ca.pem\" cannot be read: No such file or directory"));
    EXPECT_THAT(check("[tls]\nmode = 1\nca = \"/dev/null\"\ncertificate = \"/dev/null\"\n"
                      "key_password_file = \"/nowhere/password\"\n" +
                      kNamingOverTls),
                ElementsAre(HasSubstr("5: tls.key_password_file: the file")));
    EXPECT_THAT(check("[tls]\nmode = 1\nca = \"/dev/null\"\ncertificate = \"/dev/null\"\n" +
                      kNamingOverTls),
                IsEmpty());
}

TEST(ConfigChecks, OnlyEndpointsInUseAreChecked) {
    EXPECT_THAT(check("[tls]\nlisten = \"nonsense\"\n"), IsEmpty());
    EXPECT_THAT(check("[orb]\nlisten = \"0.0.0.0:4800\"\n"
                      "[tls]\nmode = 2\nca = \"/dev/null\"\ncertificate = \"/dev/null\"\n" +
                      kNamingOverTls),
                IsEmpty());
    EXPECT_THAT(check("[tls]\nmode = 2\nlisten = \"0.0.0.0:4843\"\nca = \"/dev/null\"\ncertificate "
                      "= \"/dev/null\"\n" +
                      kNamingOverTls),
                ElementsAre(HasSubstr("3: tls.listen: \"0.0.0.0:4843\" is a wildcard address")));
}

TEST(ConfigChecks, EmbeddedNamingServiceIsOnThisMachine) {
    // 192.0.2.0/24 is reserved for documentation, so no machine has this address.
    EXPECT_THAT(
        check("[naming]\nhost = \"192.0.2.1\"\n"),
        ElementsAre(HasSubstr("2: naming.host: \"192.0.2.1\" is not an address of this machine")));
    EXPECT_THAT(check("[naming]\nhost = \"192.0.2.1\"\nembedded = false\n"), IsEmpty());
    EXPECT_THAT(check("[naming]\nhost = \"127.0.0.2\"\n"), IsEmpty());
    EXPECT_THAT(check("[naming]\nhost = \"localhost\"\n"), IsEmpty());
    EXPECT_THAT(check("[naming]\nhost = \"0.0.0.0\"\n"),
                ElementsAre(HasSubstr("must be a host that can be called")));
}

std::vector<std::string> checkAliases(const std::string& aliases) {
    return check("[naming]\naliases = [" + aliases + "]\n");
}

TEST(ConfigChecks, AliasesAreNamingPathsOfAnyDepth) {
    EXPECT_THAT(checkAliases(""), IsEmpty());
    EXPECT_THAT(checkAliases(R"('EMS.Kind/factory', 'a.1/b.2/c/.d/Kelp\/EMS\.1.x/f', 'g')"),
                IsEmpty());
    EXPECT_THAT(checkAliases("'TMF_MTNM.Class/Other.Vendor/x'"), IsEmpty())
        << "a context may be shared";
}

TEST(ConfigChecks, AliasThatIsNoNamingPathIsNamed) {
    for (const std::string alias : {"", "a//b", "/a", "a/", "a.b.c", "a\\x", "a\\"})
        EXPECT_THAT(checkAliases("'fine', '" + alias + "'"),
                    ElementsAre(HasSubstr("2: naming.aliases: no naming path: ")))
            << alias;
    EXPECT_THAT(checkAliases("'" + std::string(1025, 'a') + "'"),
                ElementsAre(HasSubstr("has more than 32 components or 1024 characters")));
    std::string deep = "a";
    for (int i = 0; i < 32; ++i)
        deep += "/a";
    EXPECT_THAT(checkAliases("'" + deep + "'"),
                ElementsAre(HasSubstr("has more than 32 components")));
}

TEST(ConfigChecks, AliasesMustFitTogetherAndToTheStandardPath) {
    EXPECT_THAT(checkAliases("'a', 'b', 'a'"),
                ElementsAre(HasSubstr("\"a\" is already a path of the session factory")));
    EXPECT_THAT(checkAliases("'a/b', 'a/b/c'"),
                ElementsAre(HasSubstr("\"a/b/c\" leads through \"a/b\"")));
    EXPECT_THAT(checkAliases("'a/b/c', 'a/b'"),
                ElementsAre(HasSubstr(
                    "\"a/b\" cannot be the session factory: \"a/b/c\" leads through it")));
    EXPECT_THAT(checkAliases("'TMF_MTNM.Class'"),
                ElementsAre(HasSubstr("cannot be the session factory: the standard path")));
    const std::string standard =
        R"(TMF_MTNM.Class/Kelp.Vendor/Kelp\/EMS.EmsInstance/3_5.Version/Kelp\/EMS.EmsSessionFactory_I)";
    EXPECT_THAT(checkAliases("'" + standard + "'"), ElementsAre(HasSubstr("already")));
    EXPECT_THAT(check("[ems]\nname = \"Other/EMS\"\n[naming]\naliases = ['" + standard + "']\n"),
                IsEmpty());
}

TEST(ConfigChecks, AliasesAreLimited) {
    std::string aliases;
    for (int i = 0; i < 100; ++i)
        aliases += "'alias" + std::to_string(i) + "',";
    EXPECT_THAT(checkAliases(aliases), IsEmpty());
    EXPECT_THAT(checkAliases(aliases + "'more'"),
                ElementsAre("2: naming.aliases: must have at most 100 paths, but has 101"));
}

TEST(ConfigChecks, FileOfTheReferenceNeedsItsFolder) {
    const kelp::test::TemporaryDirectory folder;
    EXPECT_THAT(check("[naming]\nior_file = \"" + (folder / "ems.ior").string() + "\"\n"),
                IsEmpty());
    const std::vector<std::string> files = {(folder / "absent" / "ems.ior").string(),
                                            folder.path().string(), folder.path().string() + "/"};
    for (const std::string& file : files)
        EXPECT_THAT(
            check("[naming]\nior_file = \"" + file + "\"\n"),
            ElementsAre(HasSubstr("2: naming.ior_file: \"" + file + "\" cannot be a file")));
}

TEST(ConfigChecks, AllowedNetworksAreAddressesOrPrefixes) {
    EXPECT_THAT(check("[access]\nallowed_oss = []\n"), IsEmpty());
    EXPECT_THAT(check("[access]\nallowed_oss = [\"10.0.0.0/0\", \"10.1.2.3/32\", \"::/0\", "
                      "\"2001:db8::1/128\"]\n"),
                IsEmpty());
    for (const std::string network :
         {"10.0.0.0/33", "10.0.0/8", "::/129", "10.0.0.0/", "10.0.0.0/-1", "10.0.0.0/-0",
          "10.0.0.300", "nms.example.com/8", "nms_1", ""}) {
        EXPECT_THAT(
            check("[access]\nallowed_oss = [\"127.0.0.1\", \"" + network + "\"]\n"),
            ElementsAre(HasSubstr("2: access.allowed_oss: \"" + network + "\" is not a network")));
    }
}

TEST(ConfigChecks, AllowedNetworksMayIncludeHostNames) {
    EXPECT_THAT(check("[access]\nallowed_oss = [\"127.0.0.1\", \"nms.example.com\"]\n"), IsEmpty());
}

TEST(ConfigChecks, IteratorLimitsMayBeInAnyOrder) {
    EXPECT_THAT(check("[iterator]\nsoft_limit = 7\nhard_limit = 8\n"), IsEmpty());
    EXPECT_THAT(check("[iterator]\nsoft_limit = 8\nhard_limit = 7\n"), IsEmpty());
    EXPECT_THAT(check("[iterator]\nsoft_limit = 7\nhard_limit = 7\n"), IsEmpty());
}

TEST(ConfigChecks, FileSinkNeedsAFile) {
    EXPECT_THAT(check("[trace]\nsinks = [\"file\"]\n"),
                ElementsAre("0: trace.file: is missing: trace.sinks has \"file\" in it"));
    EXPECT_THAT(check("[trace]\nsinks = [\"file\"]\nfile = \"/var/log/kelp.log\"\n"), IsEmpty());
}

TEST(ConfigChecks, BundleNamesAreNotPaths) {
    EXPECT_THAT(check("[bundles]\nload = [\"../evil\", \"kelp_ems\", \"kelp_ems\", \"\"]\n"),
                ElementsAre(HasSubstr("\"../evil\" is not a bundle name"),
                            HasSubstr("\"kelp_ems\" appears twice"),
                            HasSubstr("\"\" is not a bundle name")));
}

TEST(ConfigChecks, EveryProblemIsReportedInTheOrderOfTheFile) {
    EXPECT_THAT(
        check("[session]\nping_interval_s = 0\n[agent]\nCachesize = \"big\"\n[ems]\nname = "
              "\"Kelp\"\nx = 1\n"),
        ElementsAre(HasSubstr("2: session.ping_interval_s"), HasSubstr("4: agent.Cachesize"),
                    HasSubstr("6: ems.name"), HasSubstr("7: ems.x")));
}

TEST(ConfigChecks, NetworkListenerNeedsANumericAddressAndACertificate) {
    const std::string certificate = "network_certificate = \"/etc/kelp/page.pem\"\n";
    for (const std::string listen : {"", "0.0.0.0:4443", "[::]:4443", "192.0.2.7:1"})
        EXPECT_THAT(check("[admin]\n" + certificate + "network_listen = \"" + listen + "\"\n"),
                    IsEmpty())
            << listen;
    for (const std::string listen : {"*:4443", "ems.example.net:4443", "192.0.2.7", "192.0.2.7:0",
                                     "192.0.2.7:65536", "::1:4443", "https://192.0.2.7:4443"})
        EXPECT_THAT(check("[admin]\n" + certificate + "network_listen = \"" + listen + "\"\n"),
                    ElementsAre(HasSubstr("3: admin.network_listen: must be empty, or a numeric")))
            << listen;
    EXPECT_THAT(check("[admin]\nnetwork_listen = \"0.0.0.0:4443\"\n"),
                ElementsAre(HasSubstr("admin.network_certificate: is missing")));
}

TEST(ConfigChecks, OperatorsInterfaceIsForThisMachineOnly) {
    for (const std::string listen : {"", "127.0.0.1:4880", "127.8.0.1:1", "[::1]:65535"})
        EXPECT_THAT(check("[admin]\nlisten = \"" + listen + "\"\n"), IsEmpty()) << listen;
    for (const std::string listen :
         {"0.0.0.0:4880", "[::]:4880", "*:4880", ":4880", "192.0.2.7:4880", "localhost:4880",
          "[2001:db8::1]:4880", "127.example.org:4880"})
        EXPECT_THAT(check("[admin]\nlisten = \"" + listen + "\"\n"),
                    ElementsAre(HasSubstr("2: admin.listen: \"" + listen +
                                          "\" is not an address of the loopback interface")));
    for (const std::string listen :
         {"127.0.0.1", "127.0.0.1:0", "127.0.0.1:65536", "/run/kelp.sock", "::1:4880"})
        EXPECT_THAT(
            check("[admin]\nlisten = \"" + listen + "\"\n"),
            ElementsAre("2: admin.listen: must be empty, host:port or [ipv6]:port, but is \"" +
                        listen + "\""));
}

}  // namespace
