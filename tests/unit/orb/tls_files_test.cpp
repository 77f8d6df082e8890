#include <gmock/gmock.h>
#include <kelp/orb/tls_files.h>
#include <sys/stat.h>

#include "support/temporary_directory.h"
#include "support/throw_away_certificates.h"

namespace {

using kelp::orb::problemsOf;
using kelp::orb::TlsFiles;
using Of = kelp::orb::TlsFileProblem::Of;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class TlsFilesTest : public testing::Test {
  protected:
    /// Return problems such as "authorities: ca.pem cannot be read", without the folder.
    std::vector<std::string> check(const std::string& caFile, const std::string& keyFile,
                                   const std::string& password = "") const {
        std::vector<std::string> all;
        for (const auto& problem : problemsOf({caFile, keyFile, password})) {
            const char* const of = problem.of == Of::Authorities   ? "authorities: "
                                   : problem.of == Of::Certificate ? "certificate: "
                                                                   : "password: ";
            const std::size_t name = problem.what.rfind('/');
            EXPECT_EQ(problem.what.front(), '/') << "the whole path is named: " << problem.what;
            all.push_back(of + problem.what.substr(name + 1));
        }
        return all;
    }
    std::vector<std::string> checkOwn(const std::string& keyFile,
                                      const std::string& password = "") const {
        return check(certificates_.authority(), keyFile, password);
    }
    static std::string contentOf(const std::string& file) {
        std::ifstream in(file);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    std::string written(const std::string& name, const std::string& text,
                        ::mode_t mode = 0600) const {
        const std::string file = folder_.write(name, text);
        EXPECT_EQ(::chmod(file.c_str(), mode), 0);
        return file;
    }
    std::string checkMode(::mode_t mode) const {
        const auto all = checkOwn(written("ems.pem", contentOf(certificates_.issue("ems")), mode));
        return all.empty() ? "" : all.front();
    }
    /// Return the problems of revocation lists, without the folder.
    std::vector<std::string> checkLists(const std::string& crlFile) const {
        std::vector<std::string> all;
        for (const auto& problem :
             problemsOf({certificates_.authority(), certificates_.issue("ems"), "", crlFile})) {
            EXPECT_EQ(problem.of, Of::RevocationLists) << problem.what;
            all.push_back(problem.what.substr(problem.what.rfind('/') + 1));
        }
        return all;
    }

    const kelp::test::ThrowAwayCertificates certificates_;
    const kelp::test::TemporaryDirectory folder_;
};

TEST_F(TlsFilesTest, GoodFilesHaveNoProblem) {
    EXPECT_THAT(checkOwn(certificates_.issue("ems")), IsEmpty());
    EXPECT_THAT(checkOwn(certificates_.issue("locked", "secret"), "secret"), IsEmpty());
    EXPECT_THAT(checkOwn(certificates_.issue("open"), "needless"), IsEmpty());
}

TEST_F(TlsFilesTest, CertificatesBetweenTheOwnAndTheAuthorityMayFollow) {
    const std::string own = certificates_.issue("ems");
    EXPECT_THAT(
        checkOwn(written("chain.pem", contentOf(own) + contentOf(certificates_.authority()))),
        IsEmpty());
}

TEST_F(TlsFilesTest, ProblemsOfBothFilesAreReportedAtOnce) {
    EXPECT_THAT(check("/no/such/ca.pem", "/no/such/ems.pem"),
                ElementsAre("authorities: ca.pem cannot be read: No such file or directory",
                            "certificate: ems.pem cannot be read: No such file or directory"));
}

TEST_F(TlsFilesTest, FolderIsNoFile) {
    EXPECT_THAT(checkOwn("/tmp"), ElementsAre("certificate: tmp cannot be read: Is a directory"));
}

TEST_F(TlsFilesTest, PipeThatNobodyWritesToIsNotWaitedFor) {
    const std::string pipe = folder_.path() / "pipe";
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THAT(check(pipe, certificates_.issue("ems")),
                ElementsAre("authorities: pipe holds no PEM certificate"));
}

TEST_F(TlsFilesTest, AuthoritiesNeedACertificate) {
    const std::string own = certificates_.issue("ems");
    EXPECT_THAT(check("/dev/null", own), ElementsAre("authorities: null holds no PEM certificate"));
    EXPECT_THAT(check(certificates_.keyOf("ems"), own),
                ElementsAre("authorities: ems.key holds no PEM certificate"));
    std::string damaged = contentOf(certificates_.authority());
    damaged.replace(damaged.find('\n') + 1, 8, "////////");
    EXPECT_THAT(check(written("damaged.pem", damaged), own),
                ElementsAre(StartsWith("authorities: damaged.pem holds a damaged certificate: ")));
    EXPECT_THAT(check(written("second.pem", contentOf(certificates_.authority()) + damaged), own),
                ElementsAre(StartsWith("authorities: second.pem holds a damaged certificate: ")));
}

TEST_F(TlsFilesTest, OneAuthorityMustStillBeValid) {
    const std::string own = certificates_.issue("ems");
    certificates_.issueExpired("old");
    const std::string ended = contentOf(certificates_.certificateOf("old"));
    EXPECT_THAT(
        check(written("ended.pem", ended), own),
        ElementsAre(
            "authorities: ended.pem holds no certificate that is still valid, so that nobody "
            "could be trusted"));
    EXPECT_THAT(check(written("both.pem", ended + contentOf(certificates_.authority())), own),
                IsEmpty());
}

TEST_F(TlsFilesTest, OwnFileNeedsACertificateAndItsKey) {
    certificates_.issue("ems");
    EXPECT_THAT(checkOwn(certificates_.keyOf("ems")),
                ElementsAre("certificate: ems.key holds no PEM certificate"));
    EXPECT_THAT(checkOwn(certificates_.certificateOf("ems")),
                ElementsAre("certificate: ems.crt holds no PEM private key"));
    EXPECT_THAT(checkOwn("/dev/null"), ElementsAre("certificate: null holds no PEM certificate",
                                                   "certificate: null holds no PEM private key"));
    certificates_.issue("other");
    EXPECT_THAT(
        checkOwn(written("mixed.pem", contentOf(certificates_.keyOf("other")) +
                                          contentOf(certificates_.certificateOf("ems")))),
        ElementsAre(
            "certificate: mixed.pem holds a private key that is not its first certificate's"));
    std::string damaged = contentOf(certificates_.keyOf("ems"));
    damaged.replace(damaged.find('\n') + 1, 8, "////////");
    EXPECT_THAT(
        checkOwn(written("damaged.pem", damaged + contentOf(certificates_.certificateOf("ems")))),
        ElementsAre(
            StartsWith("certificate: damaged.pem holds a private key that cannot be read: ")));
}

TEST_F(TlsFilesTest, EncryptedKeyNeedsItsPassword) {
    const std::string locked = certificates_.issue("locked", "secret");
    EXPECT_THAT(checkOwn(locked), ElementsAre("password: locked.pem holds an encrypted private "
                                              "key, but there is no password for it"));
    const std::string refused =
        "password: locked.pem holds a private key that the password does not open: ";
    EXPECT_THAT(checkOwn(locked, "wrong"), ElementsAre(StartsWith(refused)));
    EXPECT_THAT(checkOwn(locked, std::string(100000, 'x')), ElementsAre(StartsWith(refused)));
    EXPECT_THAT(checkOwn(locked, "secret"), IsEmpty());
}

TEST_F(TlsFilesTest, OwnCertificateMustBeValidNow) {
    EXPECT_THAT(
        checkOwn(certificates_.issueExpired("old")),
        ElementsAre(
            "certificate: old.pem holds a certificate that has ended at 2021-01-01 00:00:00 "
            "UTC"));
    EXPECT_THAT(
        checkOwn(certificates_.issueNotYetValid("new")),
        ElementsAre("certificate: new.pem holds a certificate that is not valid before 2048-01-01 "
                    "00:00:00 UTC"));
}

TEST_F(TlsFilesTest, KeyThatOthersCanReadOrWriteIsRefused) {
    const auto refusal = [](const std::string& mode) {
        return "certificate: ems.pem holds a private key that others can read or write: its mode "
               "is " +
               mode + ", set it to 0600";
    };
    EXPECT_EQ(checkMode(0600), "");
    EXPECT_EQ(checkMode(0400), "");
    EXPECT_EQ(checkMode(0700), "");
    EXPECT_EQ(checkMode(0604), refusal("0604"));
    EXPECT_EQ(checkMode(0640), refusal("0640"));
    EXPECT_EQ(checkMode(0620), refusal("0620"));
    EXPECT_EQ(checkMode(0602), refusal("0602"));
    EXPECT_EQ(checkMode(0644), refusal("0644"));
}

TEST_F(TlsFilesTest, CertificatesAloneMayBeReadByAll) {
    const std::string own = certificates_.issue("ems");
    EXPECT_THAT(check(written("ca.pem", contentOf(certificates_.authority()), 0644), own),
                IsEmpty());
}

TEST_F(TlsFilesTest, WhatOthersCanWriteIsNotTrusted) {
    const std::string own = certificates_.issue("ems");
    const std::string authority = written("ca.pem", contentOf(certificates_.authority()), 0666);
    EXPECT_THAT(check(authority, own),
                ElementsAre("authorities: ca.pem can be written by others (mode 0666)"));
    ASSERT_EQ(::chmod(authority.c_str(), 0644), 0);
    const std::string link = folder_.path() / "link.pem";
    std::filesystem::create_symlink(authority, link);
    EXPECT_THAT(check(link, own), IsEmpty());
    const std::string lists = written("crl.pem", contentOf(certificates_.revocationList()), 0622);
    EXPECT_THAT(checkLists(lists), ElementsAre("crl.pem can be written by others (mode 0622)"));
}

TEST_F(TlsFilesTest, RevocationListOfTheAuthorityIsGood) {
    EXPECT_THAT(checkLists(certificates_.revocationList()), IsEmpty());
    certificates_.issue("stolen");
    certificates_.revoke("stolen");
    EXPECT_THAT(checkLists(certificates_.revocationList()), IsEmpty());
}

TEST_F(TlsFilesTest, FileOfRevocationListsNeedsOne) {
    EXPECT_THAT(checkLists("/no/such/crl.pem"),
                ElementsAre("crl.pem cannot be read: No such file or directory"));
    EXPECT_THAT(checkLists("/dev/null"), ElementsAre("null holds no PEM revocation list"));
    EXPECT_THAT(checkLists(certificates_.authority()),
                ElementsAre("ca.pem holds no PEM revocation list"));
    std::string damaged = contentOf(certificates_.revocationList());
    damaged.replace(damaged.find('\n') + 1, 8, "////////");
    EXPECT_THAT(checkLists(written("damaged.pem", damaged)),
                ElementsAre(StartsWith("damaged.pem holds a damaged revocation list: ")));
    EXPECT_THAT(checkLists(written("cut.pem", contentOf(certificates_.revocationList()) + damaged)),
                ElementsAre(StartsWith("cut.pem holds a damaged revocation list: ")));
}

TEST_F(TlsFilesTest, RevocationListMustHoldNow) {
    EXPECT_THAT(
        checkLists(certificates_.revocationListFor("20200101000000Z", "20210101000000Z")),
        ElementsAre(
            "crl.pem holds a revocation list of CN = Test CA that has ended at 2021-01-01 00:00:00 "
            "UTC"));
    EXPECT_THAT(
        checkLists(certificates_.revocationListFor("20480101000000Z", "20490101000000Z")),
        ElementsAre(
            "crl.pem holds a revocation list of CN = Test CA that is not valid before 2048-01-01 "
            "00:00:00 UTC"));
    const std::string ended =
        contentOf(certificates_.revocationListFor("20200101000000Z", "20210101000000Z"));
    EXPECT_THAT(checkLists(written("both.pem", ended + contentOf(certificates_.revocationList()))),
                IsEmpty())
        << "an older list next to the one that holds";
}

TEST_F(TlsFilesTest, ForeignRevocationListIsRefused) {
    const kelp::test::ThrowAwayCertificates others("Other CA");
    const std::string own = contentOf(certificates_.revocationList());
    EXPECT_THAT(
        checkLists(written("foreign.pem", own + contentOf(others.revocationList()))),
        ElementsAre("foreign.pem holds a revocation list of CN = Other CA, which is none of the "
                    "trusted authorities"));
    const kelp::test::ThrowAwayCertificates namesakes;
    EXPECT_THAT(checkLists(written("namesake.pem", contentOf(namesakes.revocationList()))),
                testing::Contains(
                    "namesake.pem holds a revocation list of CN = Test CA that this authority "
                    "has not signed"));
}

TEST_F(TlsFilesTest, EachAuthorityNeedsARevocationListWhereThereIsAFileOfThem) {
    const kelp::test::ThrowAwayCertificates others("Other CA");
    const std::string both =
        written("cas.pem", contentOf(certificates_.authority()) + contentOf(others.authority()));
    const std::string own = certificates_.issue("ems");
    const auto problems = problemsOf({both, own, "", certificates_.revocationList()});
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_THAT(
        problems.front().what,
        testing::EndsWith("/crl.pem holds no revocation list of CN = Other CA, which is one of the "
                          "trusted authorities"));
    const std::string lists = written(
        "crls.pem", contentOf(certificates_.revocationList()) + contentOf(others.revocationList()));
    EXPECT_THAT(problemsOf({both, own, "", lists}), IsEmpty());
}

TEST_F(TlsFilesTest, EndsOfRevocationListsAreKnown) {
    EXPECT_THAT(kelp::orb::revocationListEnds("/no/such/file"), IsEmpty());
    EXPECT_THAT(kelp::orb::revocationListEnds("/dev/null"), IsEmpty());
    const auto ends = kelp::orb::revocationListEnds(
        certificates_.revocationListFor("20200101000000Z", "20210101000000Z"));
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0].authority, "CN = Test CA");
    EXPECT_EQ(ends[0].end, std::chrono::system_clock::from_time_t(1609459200));
}

TEST_F(TlsFilesTest, KeyTooShortForTheLibraryIsRefusedBeforeTheStart) {
    const std::string file = folder_.path() / "short.pem";
    const std::string command =
        "openssl req -x509 -newkey rsa:512 -nodes -days 2 -subj /CN=short -keyout '" + file +
        "' -out '" + file + ".crt' 2>/dev/null && cat '" + file + ".crt' >> '" + file + "'";
    ASSERT_EQ(std::system(command.c_str()), 0);
    EXPECT_THAT(checkOwn(file),
                ElementsAre("certificate: short.pem holds a certificate that cannot be shown: "
                            "ee key too small"));
}

}  // namespace
