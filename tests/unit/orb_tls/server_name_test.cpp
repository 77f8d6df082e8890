// Which servers our side accepts as a client.

#include "tls/server_name.h"

#include <gmock/gmock.h>
#include <openssl/pem.h>

#include "handshake.h"

namespace {

using namespace kelp::test;
using kelp::orb::isOfServer;
using testing::HasSubstr;

class ServerName : public testing::Test {
  protected:
    kelp::orb::OwnedCertificate certificateFor(const std::string& commonName,
                                               const std::string& names) const {
        const std::string file = certificates_.issueForNames(commonName, names);
        const kelp::orb::OwnedBio in(BIO_new_file(file.c_str(), "r"));
        return kelp::orb::OwnedCertificate(PEM_read_bio_X509(in.get(), nullptr, nullptr, nullptr));
    }
    /// True if our client accepts a server that presents this certificate.
    bool calls(const std::string& keyFile, const std::string& called, const std::string& expected,
               bool checksServer = true) const {
        const TlsInUse tls({materialOf(certificates_, own_), checksServer, expected});
        const auto server = theirContext(certificates_, keyFile);
        const auto client = ourContext();
        return Handshake(server.get(), client.get(), called).succeeds();
    }

    const ThrowAwayCertificates certificates_;
    const std::string own_ = certificates_.issue("nms");
};

TEST_F(ServerName, AlternativeNamesDecide) {
    const auto certificate =
        certificateFor("ems.example.net",
                       "DNS:ems.example.org,DNS:*.sites.example.org,IP:192.0.2.1,IP:2001:db8::1");
    EXPECT_TRUE(isOfServer(certificate.get(), "ems.example.org"));
    EXPECT_TRUE(isOfServer(certificate.get(), "EMS.Example.Org"));
    EXPECT_TRUE(isOfServer(certificate.get(), "one.sites.example.org"));
    EXPECT_TRUE(isOfServer(certificate.get(), "192.0.2.1"));
    EXPECT_TRUE(isOfServer(certificate.get(), "2001:db8::1"));
    EXPECT_TRUE(isOfServer(certificate.get(), "2001:db8:0:0::1"));
    EXPECT_FALSE(isOfServer(certificate.get(), "two.one.sites.example.org"));
    EXPECT_FALSE(isOfServer(certificate.get(), "sites.example.org"));
    EXPECT_FALSE(isOfServer(certificate.get(), "192.0.2.2"));
    EXPECT_FALSE(isOfServer(certificate.get(), "ems.example.net"))
        << "the common name counts no more";
    EXPECT_FALSE(isOfServer(certificate.get(), ""));
    EXPECT_EQ(kelp::orb::namesOf(certificate.get()),
              "DNS:ems.example.org, DNS:*.sites.example.org, IP:192.0.2.1, IP:2001:db8::1");
}

TEST_F(ServerName, CommonNameCountsWithoutAlternativeNames) {
    const auto byName = certificateFor("ems.example.net", "");
    EXPECT_TRUE(isOfServer(byName.get(), "ems.example.net"));
    EXPECT_FALSE(isOfServer(byName.get(), "other.example.net"));
    EXPECT_FALSE(isOfServer(byName.get(), "192.0.2.1"));
    EXPECT_EQ(kelp::orb::namesOf(byName.get()), "CN:ems.example.net");
    const auto byAddress = certificateFor("192.0.2.1", "");
    EXPECT_TRUE(isOfServer(byAddress.get(), "192.0.2.1"));
    EXPECT_FALSE(isOfServer(byAddress.get(), "192.0.2.2"));
}

TEST_F(ServerName, CommonNameDoesNotCountNextToNamesOfAnotherKind) {
    const auto certificate = certificateFor("ems.example.net", "email:operator@example.net");
    EXPECT_FALSE(isOfServer(certificate.get(), "ems.example.net"));
    EXPECT_EQ(kelp::orb::namesOf(certificate.get()), "no server");
}

TEST_F(ServerName, CallerWantsTheNameThatItCalled) {
    const std::string ems = certificates_.issueForNames("ems", "DNS:ems.example.net");
    EXPECT_TRUE(calls(ems, "ems.example.net", ""));
    EXPECT_FALSE(calls(ems, "other.example.net", ""));
    EXPECT_THAT(
        kelp::orb::takeRefusedServer(),
        HasSubstr(
            " shows a certificate of CN = ems, which is refused: it is for DNS:ems.example.net, "
            "not for other.example.net"));
}

TEST_F(ServerName, CallerWantsTheNameThatItWasGiven) {
    const std::string ems = certificates_.issueForNames("ems", "DNS:ems.example.net,IP:192.0.2.1");
    EXPECT_TRUE(calls(ems, "alias.example.net", "ems.example.net"));
    EXPECT_TRUE(calls(ems, "alias.example.net", "192.0.2.1"));
    EXPECT_FALSE(calls(ems, "ems.example.net", "alias.example.net"));
}

TEST_F(ServerName, NameCanBeLeftUnchecked) {
    EXPECT_TRUE(
        calls(certificates_.issueForNames("ems", "DNS:ems.example.net"), "other", "", false));
}

}  // namespace
