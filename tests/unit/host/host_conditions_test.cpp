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

notification::ConsumerCounts consumer() {
    notification::ConsumerCounts counts;
    counts.admin = 3;
    counts.proxy = 7;
    counts.owner =
        "<USERNAME_TAG>b\x1b[b</USERNAME_TAG><IPANDPORT_TAG>192.0.2.7:4711</IPANDPORT_TAG>";
    counts.queueLimit = 10;
    return counts;
}

TEST(ConsumerCondition, NamesTheNms) {
    notification::ConsumerCounts counts = consumer();
    EXPECT_FALSE(consumerCondition(counts));
    counts.answers = false;
    counts.queued = 4;
    counts.oldest = std::chrono::milliseconds(2500);
    const auto silent = consumerCondition(counts);
    ASSERT_TRUE(silent);
    EXPECT_EQ(silent->word, "consumer-silent");
    EXPECT_EQ(
        silent->sentence,
        "consumer 3/7 of NMS b\\x1B[b at 192.0.2.7:4711 does not answer: 4 of 10 events wait, "
        "the oldest for 2 s");
    counts.owner = "192.0.2.9";
    EXPECT_NE(consumerCondition(counts)->sentence.find("consumer 3/7 of 192.0.2.9 does"),
              std::string::npos);
    counts.owner.clear();
    EXPECT_NE(consumerCondition(counts)->sentence.find("consumer 3/7 does"), std::string::npos);
}

TEST(ConsumerCondition, IsSlowWithOldEventsOrAHalfFullQueue) {
    notification::ConsumerCounts counts = consumer();
    counts.queued = 5;
    counts.oldest = std::chrono::seconds(30);
    EXPECT_FALSE(consumerCondition(counts));
    counts.queued = 6;
    ASSERT_TRUE(consumerCondition(counts));
    EXPECT_EQ(consumerCondition(counts)->word, "consumer-slow");
    counts.queued = 1;
    counts.oldest = std::chrono::seconds(31);
    ASSERT_TRUE(consumerCondition(counts));
    EXPECT_EQ(consumerCondition(counts)->word, "consumer-slow");
    EXPECT_EQ(consumerCondition(counts)->severity, Severity::Warning);
}

TEST(NamingCondition, ShowsAForeignEntryWhileItIsBoundAndForAnHour) {
    const system_clock::time_point now = system_clock::now();
    NS_CORBA::NamingEntryState entry;
    EXPECT_FALSE(namingCondition(entry, now));
    entry.foreign = "192.0.2.1:4444";
    const auto foreign = namingCondition(entry, now);
    ASSERT_TRUE(foreign);
    EXPECT_EQ(foreign->word, "naming-foreign");
    EXPECT_EQ(foreign->severity, Severity::Critical);
    entry.isBound = true;
    entry.replaced = 1;
    entry.replacedAt = now;
    ASSERT_TRUE(namingCondition(entry, now));
    EXPECT_EQ(namingCondition(entry, now)->word, "naming-replaced");
    EXPECT_FALSE(namingCondition(entry, now + hours(1)));
    entry.failure = "nobody answers";
    ASSERT_TRUE(namingCondition(entry, now));
    EXPECT_EQ(namingCondition(entry, now)->word, "naming-unreachable");
}

TEST(LogConditions, AreFailuresAndMissingRecords) {
    oplog::LogCounts counts;
    EXPECT_TRUE(conditionsOfLog("the log", counts).empty());
    counts.fails = true;
    counts.waiting = 5;
    counts.missing = 2;
    const std::vector<admin::Condition> all = conditionsOfLog("the log", counts);
    ASSERT_EQ(all.size(), 2U);
    EXPECT_EQ(all[0].word, "log-failing");
    EXPECT_EQ(all[0].sentence, "the log cannot be written, 5 records wait in memory");
    EXPECT_EQ(all[0].severity, Severity::Critical);
    EXPECT_EQ(all[1].word, "log-records-missing");
    EXPECT_EQ(all[1].sentence, "2 records are missing in the log");
}

}  // namespace
}  // namespace kelp::host
