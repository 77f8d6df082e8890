#include <gmock/gmock.h>
#include <kelp/corbabase/tls_settings.h>

#include "config_text.h"
#include "support/temporary_directory.h"
#include "support/throw_away_certificates.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class TlsSettings : public testing::Test {
  protected:
    /// Return the problems of these settings. `more` may add the password file.
    static std::vector<std::string> check(const std::string& ca, const std::string& certificate,
                                          const std::string& more = "", int mode = 1) {
        kelp::test::configure("[tls]\nmode = " + std::to_string(mode) + "\nca = \"" + ca +
                              "\"\ncertificate = \"" + certificate + "\"\n" + more +
                              "[naming]\nssl_port = 4844\n");
        std::vector<std::string> all;
        for (const NS_BUNDLEMGR1::ConfigProblem& problem : NS_CORBA::problemsOfConfiguredTls())
            all.push_back(problem.text());
        return all;
    }
    static std::string passwordFile(const std::string& file) {
        return "key_password_file = \"" + file + "\"\n";
    }

    /// Write a file that only its owner can read.
    std::string secret(const std::string& name, const std::string& content) const {
        const std::filesystem::path file = folder_.write(name, content);
        std::filesystem::permissions(
            file, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
        return file;
    }

    const kelp::test::ThrowAwayCertificates certificates_;
    const kelp::test::TemporaryDirectory folder_;
};

TEST_F(TlsSettings, GoodFilesAreNoProblem) {
    EXPECT_THAT(check(certificates_.authority(), certificates_.issue("ems")), IsEmpty());
}

TEST_F(TlsSettings, FilesAreNotCheckedWithoutTls) {
    EXPECT_THAT(check("/dev/null", "/dev/null", "", 0), IsEmpty());
}

TEST_F(TlsSettings, ProblemsNameFileLineAndKey) {
    EXPECT_THAT(
        check("/dev/null", certificates_.issueExpired("old")),
        ElementsAre("test.toml:3: tls.ca: /dev/null holds no PEM certificate",
                    "test.toml:4: tls.certificate: " + certificates_.folder() +
                        "/old.pem holds a certificate that has ended at 2021-01-01 00:00:00 UTC"));
}

TEST_F(TlsSettings, SuitesAreChecked) {
    EXPECT_THAT(
        check(certificates_.authority(), certificates_.issue("ems"),
              "ciphers = \"AES128-GCM-SHA256\"\ncipher_suites = \"TLS_NONSENSE\"\n"),
        ElementsAre(
            "test.toml:5: tls.ciphers: has the suite AES128-GCM-SHA256, which has no forward "
            "secrecy",
            "test.toml:6: tls.cipher_suites: \"TLS_NONSENSE\" names no cipher suite of TLS 1.3"));
    EXPECT_THAT(check(certificates_.authority(), certificates_.issue("ems"),
                      "ciphers = \"ECDHE-ECDSA-AES256-GCM-SHA384\"\n"),
                IsEmpty());
}

TEST_F(TlsSettings, RevocationListsAreChecked) {
    const auto checkList = [&](const std::string& file) {
        return check(certificates_.authority(), certificates_.issue("ems"),
                     "crl = \"" + file + "\"\n");
    };
    EXPECT_THAT(checkList(certificates_.revocationList()), IsEmpty());
    EXPECT_THAT(
        checkList(certificates_.revocationListFor("20200101000000Z", "20210101000000Z")),
        ElementsAre("test.toml:5: tls.crl: " + certificates_.folder() +
                    "/crl.pem holds a revocation list of CN = Test CA that has ended at 2021-01-01 "
                    "00:00:00 UTC"));
}

TEST_F(TlsSettings, KeyThatOthersCanReadIsRefused) {
    const std::string own = certificates_.issue("ems");
    std::filesystem::permissions(own, std::filesystem::perms(0644));
    EXPECT_THAT(
        check(certificates_.authority(), own),
        ElementsAre(
            "test.toml:4: tls.certificate: " + own +
            " holds a private key that others can read or write: its mode is 0644, set it to "
            "0600"));
}

TEST_F(TlsSettings, PasswordIsTheFilesFirstLine) {
    const std::string locked = certificates_.issue("locked", "opensesame");
    for (const std::string text :
         {"opensesame", "opensesame\n", "opensesame\r\n", "opensesame\nmore\n"}) {
        const std::string file = secret("password", text);
        EXPECT_THAT(check(certificates_.authority(), locked, passwordFile(file)), IsEmpty())
            << text;
    }
}

TEST_F(TlsSettings, WrongOrMissingPasswordIsReportedByItsKey) {
    const std::string locked = certificates_.issue("locked", "opensesame");
    EXPECT_THAT(
        check(certificates_.authority(), locked),
        ElementsAre(HasSubstr(": tls.key_password_file: " + locked +
                              " holds an encrypted private key, but there is no password for it")));
    const std::string wrong = secret("wrong", "close\n");
    EXPECT_THAT(check(certificates_.authority(), locked, passwordFile(wrong)),
                ElementsAre(StartsWith("test.toml:5: tls.key_password_file: " + locked +
                                       " holds a private key that the password does not open: ")));
    EXPECT_THAT(
        check(certificates_.authority(), locked, passwordFile("/etc")),
        ElementsAre("test.toml:5: tls.key_password_file: /etc cannot be read: Is a directory"));
}

TEST_F(TlsSettings, APasswordThatOthersCanReadIsRefused) {
    const std::string locked = certificates_.issue("locked", "opensesame");
    const std::string file = folder_.write("password", "opensesame\n");
    std::filesystem::permissions(file, std::filesystem::perms{0640});
    EXPECT_THAT(check(certificates_.authority(), locked, passwordFile(file)),
                ElementsAre("test.toml:5: tls.key_password_file: " + file +
                            " can be read by others (mode 0640)"));
}

}  // namespace
