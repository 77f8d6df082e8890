#include "status/host_conditions.h"

#include <gtest/gtest.h>

namespace kelp::host {
namespace {

using admin::Severity;
using std::chrono::hours;
using std::chrono::system_clock;

constexpr std::uintmax_t kMib = 1 << 20;

TEST(DiskCondition, FollowsTheFreeSpace) {
    EXPECT_FALSE(diskCondition("/logs", 1000 * kMib, 51 * kMib));
    const auto nearlyFull = diskCondition("/logs", 1000 * kMib, 40 * kMib);
    ASSERT_TRUE(nearlyFull);
    EXPECT_EQ(nearlyFull->word, "disk-nearly-full");
    EXPECT_EQ(nearlyFull->severity, Severity::Warning);
    EXPECT_EQ(nearlyFull->sentence, "the disk of /logs has 40 MiB left of 1000");
    const auto full = diskCondition("/logs", 1000 * kMib, 0);
    ASSERT_TRUE(full);
    EXPECT_EQ(full->word, "disk-full");
    EXPECT_EQ(full->severity, Severity::Critical);
}

TEST(CertificateCondition, IsCriticalOnceTheCertificateHasExpired) {
    const system_clock::time_point now = system_clock::now();
    EXPECT_FALSE(certificateCondition("ems.pem", now + hours(24 * 31), now));
    const auto expires = certificateCondition("ems.pem", now + hours(25), now);
    ASSERT_TRUE(expires);
    EXPECT_EQ(expires->severity, Severity::Warning);
    const auto expired = certificateCondition("ems.pem", now - hours(1), now);
    ASSERT_TRUE(expired);
    EXPECT_EQ(expired->word, "certificate-expired");
    EXPECT_EQ(expired->severity, Severity::Critical);
    EXPECT_EQ(expired->since, now - hours(1));
}

TEST(CertificateCondition, IsCriticalWithoutACertificate) {
    const auto missing = certificateCondition("ems.pem", std::nullopt, system_clock::now());
    ASSERT_TRUE(missing);
    EXPECT_EQ(missing->severity, Severity::Critical);
}

}  // namespace
}  // namespace kelp::host
