#include "certificate_watch.h"

#include <gtest/gtest.h>

#include "support/throw_away_certificates.h"

namespace kelp::host {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;

constexpr std::chrono::hours kDay{24};

class CertificateWatch : public testing::Test {
  protected:
    static std::string warning(system_clock::duration left) {
        const system_clock::time_point end = system_clock::from_time_t(1798761600);  // 2027-01-01
        return certificateWarning("/etc/kelp/ems.pem", end, end - left);
    }
    const kelp::test::ThrowAwayCertificates certificates_;
};

TEST_F(CertificateWatch, FindsTheEndOfTheCertificateNextToItsKey) {
    const auto before = system_clock::now();
    const auto end = certificateEnd(certificates_.issue("ems"));
    ASSERT_TRUE(end);
    EXPECT_GE(*end, before + 2 * kDay - 2s);
    EXPECT_LE(*end, system_clock::now() + 2 * kDay + 2s);
}

TEST_F(CertificateWatch, FindsNoneInAFileWithoutACertificate) {
    EXPECT_FALSE(certificateEnd("/no/such/file"));
    EXPECT_FALSE(certificateEnd("/dev/null"));
    EXPECT_EQ(certificateWarning("/no/such/file", std::nullopt, system_clock::now()),
              "tls.certificate: no certificate can be read from /no/such/file");
}

TEST_F(CertificateWatch, WarnsOfARevocationListFromThreeDaysBeforeItsEndOn) {
    const system_clock::time_point end = system_clock::from_time_t(1798761600);  // 2027-01-01
    const auto warningOfList = [&](system_clock::duration left) {
        return revocationListWarning("/etc/kelp/crl.pem", {"CN = CA", end}, end - left);
    };
    EXPECT_EQ(warningOfList(3 * kDay + 1s), "");
    const std::string soon =
        "the revocation list of CN = CA in /etc/kelp/crl.pem ends at 2027-01-01 00:00:00 UTC: get "
        "its "
        "successor, then send SIGHUP";
    EXPECT_EQ(warningOfList(3 * kDay), soon);
    EXPECT_EQ(warningOfList(1s), soon);
    const std::string ended =
        "the revocation list of CN = CA in /etc/kelp/crl.pem has ended at 2027-01-01 00:00:00 UTC: "
        "it is still used, but certificates that were revoked since are accepted";
    EXPECT_EQ(warningOfList(0s), ended);
    EXPECT_EQ(warningOfList(-kDay), ended);
    EXPECT_EQ(revocationListWarning("/etc/kelp/crl.pem", {"CN = CA", std::nullopt}, end), "");
}

TEST_F(CertificateWatch, WarnsFromThirtyDaysBeforeTheEndOn) {
    EXPECT_EQ(warning(31 * kDay), "");
    EXPECT_EQ(warning(30 * kDay), "");
    EXPECT_EQ(warning(30 * kDay - 1s),
              "the certificate in /etc/kelp/ems.pem ends at 2027-01-01 00:00:00 UTC, in 29 days");
    EXPECT_EQ(warning(kDay),
              "the certificate in /etc/kelp/ems.pem ends at 2027-01-01 00:00:00 UTC, in 1 day");
    EXPECT_EQ(warning(1s),
              "the certificate in /etc/kelp/ems.pem ends at 2027-01-01 00:00:00 UTC, in 0 days");
    const std::string ended =
        "the certificate in /etc/kelp/ems.pem has ended at 2027-01-01 00:00:00 UTC: clients refuse "
        "this EMS";
    EXPECT_EQ(warning(0s), ended);
    EXPECT_EQ(warning(-kDay), ended);
}

}  // namespace
}  // namespace kelp::host
