#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/util/trace_log.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "support/temporary_directory.h"
#include "support/wait_until.h"

namespace {

using kelp::util::traceFrom;
using kelp::util::TraceLine;
using kelp::util::TraceLog;
using kelp::util::TraceSettings;
using testing::HasSubstr;
using testing::Not;

TraceSettings fileOnly(const std::filesystem::path& file) {
    TraceSettings settings;
    settings.console = false;
    settings.file = file.string();
    return settings;
}

void openLog(const TraceSettings& settings) {
    std::string whyNot;
    ASSERT_TRUE(TraceLog::instance().open(settings, whyNot)) << whyNot;
}

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}

TEST(TraceLog, CloseWritesAllThatIsQueued) {
    const kelp::test::TemporaryDirectory directory;
    openLog(fileOnly(directory.path() / "kelp.log"));
    for (int i = 0; i < 1000; ++i)
        traceFrom("sessionmgr", "line " + std::to_string(i) + ";");
    TraceLog::instance().close();
    const std::string content = kelp::test::contentOf(directory.path() / "kelp.log");
    EXPECT_EQ(countOf(content, "\n"), 1000u);
    EXPECT_LT(content.find("line 0;"), content.find("line 999;"));
    EXPECT_EQ(TraceLog::instance().dropped(), 0u);
}

TEST(TraceLog, LineShowsTimeThreadKindSourceOperationAndText) {
    const kelp::test::TemporaryDirectory directory;
    openLog(fileOnly(directory.path() / "kelp.log"));
    TraceLine line;
    line.kind = kelp::util::TraceKind::Debug;
    line.level = 1;
    line.file = "sessionmgr";
    line.function = "unknown";
    line.line = 42;
    line.operation = "getManager";
    line.text = "a\ntext";
    TraceLog::instance().write(line);
    TraceLog::instance().close();
    EXPECT_THAT(kelp::test::contentOf(directory.path() / "kelp.log"),
                testing::MatchesRegex(
                    "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z [0-9]+ "
                    "DEBUG1 sessionmgr:42 unknown op=getManager a\\\\ntext\n"));
}

TEST(TraceLog, LineWrittenWhileClosedGoesToStandardErrorAtOnce) {
    const kelp::test::TemporaryDirectory directory;
    testing::internal::CaptureStderr();
    traceFrom("sessionmgr", "before open");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("before open\n"));

    openLog(fileOnly(directory.path() / "kelp.log"));
    testing::internal::CaptureStderr();
    traceFrom("sessionmgr", "while open");
    TraceLog::instance().close();
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");

    testing::internal::CaptureStderr();
    traceFrom("sessionmgr", "after close");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("after close\n"));
    EXPECT_THAT(kelp::test::contentOf(directory.path() / "kelp.log"),
                Not(HasSubstr("after close")));
}

TEST(TraceLog, ConsoleIsStandardError) {
    testing::internal::CaptureStderr();
    openLog(TraceSettings{});
    traceFrom("sessionmgr", "to the console");
    TraceLog::instance().close();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("to the console\n"));
}

TEST(TraceLog, OpenAgainReplacesTheSinksAndLosesNothing) {
    const kelp::test::TemporaryDirectory directory;
    openLog(fileOnly(directory.path() / "first.log"));
    traceFrom("sessionmgr", "in the first");
    openLog(fileOnly(directory.path() / "second.log"));
    traceFrom("sessionmgr", "in the second");
    TraceLog::instance().close();
    EXPECT_THAT(kelp::test::contentOf(directory.path() / "first.log"), HasSubstr("in the first"));
    EXPECT_THAT(kelp::test::contentOf(directory.path() / "first.log"),
                Not(HasSubstr("in the second")));
    EXPECT_THAT(kelp::test::contentOf(directory.path() / "second.log"), HasSubstr("in the second"));
}

TEST(TraceLog, ClosingTwiceIsHarmlessAndItOpensAgain) {
    const kelp::test::TemporaryDirectory directory;
    openLog(fileOnly(directory.path() / "kelp.log"));
    TraceLog::instance().close();
    TraceLog::instance().close();
    openLog(fileOnly(directory.path() / "kelp.log"));
    traceFrom("sessionmgr", "again");
    TraceLog::instance().close();
    EXPECT_THAT(kelp::test::contentOf(directory.path() / "kelp.log"), HasSubstr("again"));
}

TEST(TraceLog, FileIsRotatedAndOldFilesAreRemoved) {
    const kelp::test::TemporaryDirectory directory;
    TraceSettings settings = fileOnly(directory.path() / "kelp.log");
    settings.fileBytesMax = 2000;
    settings.filesMax = 3;
    openLog(settings);
    for (int i = 0; i < 200; ++i)
        traceFrom("sessionmgr", "line " + std::to_string(i) + ";");
    TraceLog::instance().close();
    std::size_t files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
        ++files;
        EXPECT_LE(entry.file_size(), 2000u) << entry.path();
    }
    EXPECT_EQ(files, 3u);
    EXPECT_THAT(kelp::test::contentOf(directory.path() / "kelp.log"), HasSubstr("line 199;"));
}

TEST(TraceLog, SinkThatCannotBeOpenedIsReportedAndReplacedByTheConsole) {
    const kelp::test::TemporaryDirectory directory;
    const auto file = directory.write("plain", "") / "kelp.log";
    std::string whyNot;
    testing::internal::CaptureStderr();
    EXPECT_FALSE(TraceLog::instance().open(fileOnly(file), whyNot));
    traceFrom("sessionmgr", "still seen");
    TraceLog::instance().close();
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("still seen"));
    EXPECT_THAT(whyNot, HasSubstr("trace sink file cannot be opened"));
    EXPECT_THAT(whyNot, HasSubstr(file.string()));
}

TEST(TraceLog, JournalWithoutAJournalDaemonIsAProblem) {
    if (::access("/run/systemd/journal/socket", F_OK) == 0) {
        TraceSettings settings;
        settings.console = false;
        settings.journal = true;
        openLog(settings);
        return;
    }
    TraceSettings settings;
    settings.journal = true;
    std::string whyNot;
    EXPECT_FALSE(TraceLog::instance().open(settings, whyNot));
    EXPECT_THAT(whyNot, HasSubstr("trace sink journal cannot be opened"));
}

/// Redirects standard error to a file that the test can read meanwhile.
class WatchedStandardError {
  public:
    WatchedStandardError() : before_(::dup(STDERR_FILENO)) {
        const int file = ::open((directory_.path() / "stderr").c_str(),
                                O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        ::dup2(file, STDERR_FILENO);
        ::close(file);
    }
    ~WatchedStandardError() {
        ::dup2(before_, STDERR_FILENO);
        ::close(before_);
    }
    WatchedStandardError(const WatchedStandardError&) = delete;
    WatchedStandardError& operator=(const WatchedStandardError&) = delete;

    std::string content() const { return kelp::test::contentOf(directory_.path() / "stderr"); }
    bool waitFor(const std::string& text) const {
        return kelp::test::waitUntil([&] { return content().find(text) != std::string::npos; });
    }

  private:
    const kelp::test::TemporaryDirectory directory_;
    const int before_;
};

TEST(TraceLog, FailingDiskIsReportedOnceAndHarmsNobody) {
    const WatchedStandardError standardError;
    TraceSettings settings = fileOnly("/dev/full");
    settings.console = true;
    openLog(settings);
    traceFrom("sessionmgr", "first line;");
    EXPECT_TRUE(standardError.waitFor("trace sink file /dev/full: "));
    for (int i = 0; i < 10; ++i) {
        traceFrom("sessionmgr", "line " + std::to_string(i) + ";");
        EXPECT_TRUE(standardError.waitFor("line " + std::to_string(i) + ";"));
    }
    TraceLog::instance().close();
    EXPECT_EQ(countOf(standardError.content(), "trace sink file /dev/full"), 1u)
        << standardError.content();
}

TEST(TraceLog, OpenSetsTheLevel) {
    TraceSettings settings;
    settings.level = 3;
    openLog(settings);
    EXPECT_EQ(TraceLog::instance().level(), 3);
}

struct TracesAtItsEnd {
    TracesAtItsEnd() = default;
    ~TracesAtItsEnd() { traceFrom("sessionmgr", "from a static object"); }
};

void openTraceAndExit(const TraceSettings& settings) {
    // Created before the log is opened, so destroyed after the log has closed.
    static const TracesAtItsEnd tracesLate;
    (void)tracesLate;
    std::string whyNot;
    TraceLog::instance().open(settings, whyNot);
    traceFrom("sessionmgr", "from main");
    std::exit(0);
}

TEST(TraceLog, ClosesItselfAtTheProcesssEndAndTakesLinesOfStaticObjectsAfterwards) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(openTraceAndExit(fileOnly("/dev/null")), testing::ExitedWithCode(0),
                "from a static object");
    EXPECT_EXIT(openTraceAndExit(TraceSettings{}), testing::ExitedWithCode(0), "from main");
}

TEST(TraceLog, ManyThreadsMayWriteOpenAndCloseAtOnce) {
    const kelp::test::TemporaryDirectory directory;
    const TraceSettings settings = fileOnly(directory.path() / "kelp.log");
    testing::internal::CaptureStderr();
    std::vector<std::thread> writers;
    for (int t = 0; t < 4; ++t) {
        writers.emplace_back([] {
            for (int i = 0; i < 200; ++i)
                traceFrom("sessionmgr", "a line;");
        });
    }
    for (int i = 0; i < 10; ++i) {
        openLog(settings);
        TraceLog::instance().close();
    }
    for (std::thread& writer : writers)
        writer.join();
    const std::string onConsole = testing::internal::GetCapturedStderr();
    const std::string inFile = kelp::test::contentOf(directory.path() / "kelp.log");
    EXPECT_EQ(countOf(onConsole, "a line;") + countOf(inFile, "a line;"), 800u);
}

}  // namespace
