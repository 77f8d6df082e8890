// Certificates that are replaced while the host runs.

#include <filesystem>

#include "tls_fixture.h"

namespace kelp::test {
namespace {

class TlsRenewal : public TlsTest {
  protected:
    /// Return the serial numbers of the certificates that the host presents at the CORBA port and
    /// at the naming service's port.
    std::vector<std::string> serialNumbers() const {
        std::vector<std::string> all;
        for (const TlsClient& client : clientsWith(nmsCertificate_))
            all.push_back(client.serverSerialNumber());
        return all;
    }
    bool showsOtherThan(const std::vector<std::string>& before) const {
        const std::vector<std::string> now = serialNumbers();
        return !now[0].empty() && now[0] != before[0] && !now[1].empty() && now[1] != before[1];
    }

    const std::string nmsCertificate_ = certificates_.issue("nms-of-the-command-line");
};

TEST_F(TlsRenewal, NewFilesTakeEffectAfterAHangupAndOldConnectionsContinue) {
    startHost(kTlsOnly);
    ChildProcess watching(overTls({"watch", "--count", "1000"}, certificates_.authority(),
                                  certificates_.issue("watching")));
    LogFile watched = log_;
    ASSERT_TRUE(watched.waitFor("  ping\n")) << watched.text();
    const std::vector<std::string> before = serialNumbers();
    ASSERT_NE(before[0], "");
    ASSERT_NE(before[1], "");

    certificates_.issue("ems");
    host_.reconfigure();
    EXPECT_TRUE(eventually([&] { return showsOtherThan(before); }));
    EXPECT_TRUE(host_.log().contains("TLS: the certificate is now CN = ems, serial number "));
    const std::size_t pings = watched.count("  ping\n");
    EXPECT_TRUE(watched.waitFor("  ping\n", pings + 2)) << watched.text();
    EXPECT_TRUE(watching.isRunning());
    EXPECT_TRUE(eventually([this] { return nms({"ping"}) == kDone; }))
        << "a new NMS finds it: " << output();
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(TlsRenewal, UnusableFilesChangeNothing) {
    startHost(kTlsOnly);
    const std::vector<std::string> before = serialNumbers();
    certificates_.issueExpired("ems");
    host_.reconfigure();
    const std::string why =
        "/ems.pem holds a certificate that has ended at 2021-01-01 00:00:00 UTC";
    EXPECT_TRUE(host_.log().waitFor(why));
    EXPECT_TRUE(
        host_.log().contains("[TlsRenewal] TLS goes on with the certificates that it has: "));
    EXPECT_EQ(serialNumbers(), before);
    EXPECT_EQ(nms({"ping"}), kDone) << output();

    certificates_.issue("ems");
    host_.reconfigure();
    EXPECT_TRUE(eventually([&] { return showsOtherThan(before); }));
}

TEST_F(TlsRenewal, SameFilesAreNoChange) {
    startHost(kTlsOnly);
    const std::vector<std::string> before = serialNumbers();
    const std::size_t lines = host_.log().count("TLS: the certificate is now");
    EXPECT_EQ(lines, 1u);
    host_.reconfigure();
    ASSERT_TRUE(host_.log().waitFor("the configuration has been read again"));
    EXPECT_EQ(serialNumbers(), before);
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_EQ(host_.log().count("TLS: the certificate is now"), lines);
}

TEST_F(TlsRenewal, NmsOfTheNewAuthorityIsAcceptedAndOfTheFormerIsRefused) {
    startHost(kTlsOnly);
    const ThrowAwayCertificates others;
    const std::string formerAuthority = scratch_ / "former.pem";
    std::filesystem::copy_file(certificates_.authority(), formerAuthority);
    std::filesystem::copy_file(others.authority(), certificates_.authority(),
                               std::filesystem::copy_options::overwrite_existing);
    host_.reconfigure();
    // the host still presents the former authority's certificate, but trusts only the new
    // authority's
    const TlsClient formers(tlsPort_.hostAndPort(), formerAuthority, nmsCertificate_);
    EXPECT_TRUE(eventually([&] { return !formers.handshakes(); }));
    EXPECT_TRUE(
        TlsClient(tlsPort_.hostAndPort(), formerAuthority, others.issue("nms")).handshakes());
}

}  // namespace
}  // namespace kelp::test
