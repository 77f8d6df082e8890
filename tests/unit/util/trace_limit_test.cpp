#include <gtest/gtest.h>
#include <kelp/util/trace_limit.h>

#include <thread>

#include "support/temporary_directory.h"
#include "support/trace_capture.h"

namespace {

using kelp::test::TraceCapture;
using kelp::util::traceFrom;
using kelp::util::TraceLog;

constexpr unsigned kLinesMax = 5;

/// A thread that works for an address without a log-in.
class TraceLimit : public testing::Test {
  protected:
    TraceLimit() {
        kelp::util::setTraceLinesPerMinute(kLinesMax);
        kelp::util::limitTraceOfThread("192.0.2.1");
    }
    ~TraceLimit() override {
        kelp::util::endTraceLimitOfThread();
        kelp::util::setTraceLinesPerMinute(20);
        TraceLog::instance().close();
    }
    static void traceMany(const std::string& text, unsigned count = 100) {
        for (unsigned i = 0; i < count; ++i)
            traceFrom("subject", text + " " + std::to_string(i));
    }
};

TEST_F(TraceLimit, LetsTheFirstLinesOfAKindThroughAndSummarisesTheOthers) {
    const TraceCapture capture;
    traceMany("refused, attempt");
    EXPECT_EQ(capture.count("refused, attempt"), kLinesMax);
    TraceLog::instance().close();
    EXPECT_TRUE(capture.contains("95 more line(s) like this because of 192.0.2.1 from "));
    EXPECT_TRUE(capture.contains(": refused, attempt 0"));
}

TEST_F(TraceLimit, ALineBelowTheLimitNeedsNoSummary) {
    const TraceCapture capture;
    traceMany("refused", kLinesMax);
    TraceLog::instance().close();
    EXPECT_EQ(capture.lines().size(), kLinesMax);
}

TEST_F(TraceLimit, KeepsKindsAndAddressesApart) {
    const TraceCapture capture;
    traceMany("refused");
    traceMany("unreadable");
    kelp::util::limitTraceOfThread("192.0.2.2");
    traceMany("refused");
    EXPECT_EQ(capture.count("refused"), 2 * kLinesMax);
    EXPECT_EQ(capture.count("unreadable"), kLinesMax);
}

TEST_F(TraceLimit, LinesOfOnePlaceInTheCodeAreOneKindWhateverTheySay) {
    const TraceCapture capture;
    for (char name = 'a'; name <= 'z'; ++name) {
        kelp::util::TraceLine line;
        line.file = "sessionmgr";
        line.line = 17;
        line.text = std::string("user ") + name;
        TraceLog::instance().write(std::move(line));
    }
    EXPECT_EQ(capture.count("user "), kLinesMax);
}

TEST_F(TraceLimit, ASourceThatMakesEachLineAKindIsStillLimited) {
    const TraceCapture capture;
    for (int i = 0; i < 1000; ++i)
        traceFrom("subject", "refused " + std::string(static_cast<std::size_t>(i % 100), 'x') +
                                 "y" + std::string(static_cast<std::size_t>(i / 100), 'z'));
    EXPECT_EQ(capture.count("refused "), 10 * kLinesMax);
    TraceLog::instance().close();
    EXPECT_TRUE(capture.contains("lines of many kinds"));
}

TEST_F(TraceLimit, OtherThreadsAndThoseThatHaveEndedTheirsAreNotLimited) {
    const TraceCapture capture;
    std::thread([] { traceMany("of somebody else"); }).join();
    EXPECT_EQ(capture.count("of somebody else"), 100u);
    kelp::util::endTraceLimitOfThread();
    traceMany("of somebody else");
    EXPECT_EQ(capture.count("of somebody else"), 200u);
}

TEST_F(TraceLimit, LimitsSingleLinesOfAThreadThatIsNot) {
    kelp::util::endTraceLimitOfThread();
    const TraceCapture capture;
    for (int i = 0; i < 100; ++i) {
        kelp::util::TraceLine line;
        line.text = "from a library, connection " + std::to_string(i);
        const std::string kind = kelp::util::shapeOf(line.text);
        kelp::util::traceLimited(std::move(line), kind);
    }
    EXPECT_EQ(capture.count("from a library"), kLinesMax);
    TraceLog::instance().close();
    EXPECT_TRUE(capture.contains("95 more line(s) like this from "));
}

TEST_F(TraceLimit, TheSummaryOfAnOpenLogReachesItsSinks) {
    const kelp::test::TemporaryDirectory folder;
    kelp::util::TraceSettings settings;
    settings.console = false;
    settings.file = (folder.path() / "trace.log").string();
    std::string whyNot;
    ASSERT_TRUE(TraceLog::instance().open(settings, whyNot)) << whyNot;
    traceMany("refused, attempt");
    TraceLog::instance().close();
    const std::string content = kelp::test::contentOf(settings.file);
    EXPECT_NE(content.find("95 more line(s) like this"), std::string::npos) << content;
}

TEST(TraceShape, LeavesOutWhatDiffersFromLineToLine) {
    using kelp::util::shapeOf;
    EXPECT_EQ(shapeOf("omniORB: (17) Error in giop:tcp:127.0.0.1:4711 after 3"),
              shapeOf("omniORB: (2) Error in giop:tcp:10.1.1.22:99 after 123"));
    EXPECT_EQ(shapeOf("no object 'a b c' here"), shapeOf("no object 'x' here"));
    EXPECT_NE(shapeOf("no object here"), shapeOf("no operation here"));
    EXPECT_LE(shapeOf(std::string(10000, 'x')).size(), 100u);
    EXPECT_EQ(shapeOf(""), "");
}

}  // namespace
