#include <gtest/gtest.h>
#include <kelp/util/thread_work.h>
#include <unistd.h>

#include <algorithm>
#include <future>
#include <thread>

namespace kelp::util {
namespace {

using std::chrono::seconds;
using std::chrono::steady_clock;

std::optional<ThreadReport> reportOf(int id) {
    const std::vector<ThreadReport> all = threadReports();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const auto& each) { return each.id == id; });
    return found != all.end() ? std::optional(*found) : std::nullopt;
}

TEST(ThreadWork, IsReportedUntilItsScopeEnds) {
    const auto before = steady_clock::now();
    {
        const ThreadWork work("writes a letter", seconds(5));
        const auto report = reportOf(::gettid());
        ASSERT_TRUE(report);
        EXPECT_EQ(report->what, "writes a letter");
        EXPECT_GE(report->since, before);
        EXPECT_EQ(report->limit, seconds(5));
    }
    EXPECT_EQ(reportOf(::gettid())->what, "");
}

TEST(ThreadWork, IsStuckAfterItsLimit) {
    const ThreadReport limited{
        .id = 1, .what = "w", .since = steady_clock::time_point{}, .limit = seconds(5)};
    EXPECT_FALSE(limited.isStuck(limited.since + seconds(5)));
    EXPECT_TRUE(limited.isStuck(limited.since + seconds(6)));
    ThreadReport idle = limited;
    idle.what.clear();
    EXPECT_FALSE(idle.isStuck(limited.since + seconds(6)));
    ThreadReport unlimited = limited;
    unlimited.limit.reset();
    EXPECT_FALSE(unlimited.isStuck(limited.since + std::chrono::hours(6)));
}

TEST(ThreadWork, LongTextsAreCut) {
    beginRequestWork(std::string(1000, 'a'), std::string(1000, 'b'));
    EXPECT_EQ(reportOf(::gettid())->what, std::string(100, 'a'));
    EXPECT_EQ(reportOf(::gettid())->detail, std::string(100, 'b'));
    endRequestWork();
    EXPECT_EQ(reportOf(::gettid())->what, "");
}

TEST(ThreadWork, KeepsItsLimitWhileItCallsARequestOnTheSameThread) {
    const ThreadWork work("checks the naming entry", seconds(5));
    const auto since = reportOf(::gettid())->since;
    beginRequestWork("resolve", "127.0.0.1:4711");
    endRequestWork();
    const auto report = reportOf(::gettid());
    EXPECT_EQ(report->what, "checks the naming entry");
    EXPECT_EQ(report->limit, seconds(5));
    EXPECT_EQ(report->since, since);
    {
        const ThreadWork inner("inner");
        EXPECT_EQ(reportOf(::gettid())->what, "checks the naming entry");
    }
    EXPECT_EQ(reportOf(::gettid())->what, "checks the naming entry");
}

TEST(ThreadWork, OfAThreadEndsWithTheThread) {
    std::promise<int> begun;
    std::promise<void> seen;
    std::thread other([&] {
        const ThreadWork work("counts sheep");
        begun.set_value(::gettid());
        seen.get_future().wait();
    });
    const int id = begun.get_future().get();
    ASSERT_TRUE(reportOf(id));
    EXPECT_EQ(reportOf(id)->what, "counts sheep");
    seen.set_value();
    other.join();
    EXPECT_FALSE(reportOf(id));
}

}  // namespace
}  // namespace kelp::util
