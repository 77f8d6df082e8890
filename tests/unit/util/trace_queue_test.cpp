#include <fcntl.h>
#include <gtest/gtest.h>
#include <kelp/util/trace_log.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <future>
#include <stdexcept>
#include <string>

#include "support/temporary_directory.h"

namespace {

using kelp::util::traceFrom;
using kelp::util::TraceLog;

/// A log file that accepts little and then blocks its writer: a pipe that is read only when the
/// test says so.
class StuckFile {
  public:
    StuckFile() : file_(directory_.path() / "pipe") {
        if (::mkfifo(file_.c_str(), 0600) != 0)
            throw std::runtime_error("no pipe");
        reader_ = ::open(file_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        kelp::util::TraceSettings settings;
        settings.console = false;
        settings.file = file_.string();
        settings.fileBytesMax = std::size_t{1} << 40;
        std::string whyNot;
        if (!TraceLog::instance().open(settings, whyNot))
            throw std::runtime_error(whyNot);
    }
    ~StuckFile() { ::close(reader_); }
    StuckFile(const StuckFile&) = delete;
    StuckFile& operator=(const StuckFile&) = delete;

    /// Read until the writer closes its end.
    std::string readAll() const {
        ::fcntl(reader_, F_SETFL, 0);
        std::string all;
        char buffer[65536];
        for (ssize_t got = ::read(reader_, buffer, sizeof buffer); got > 0;
             got = ::read(reader_, buffer, sizeof buffer))
            all.append(buffer, static_cast<std::size_t>(got));
        return all;
    }

  private:
    kelp::test::TemporaryDirectory directory_;
    std::filesystem::path file_;
    int reader_ = -1;
};

constexpr int kLines = 30000;

void writeLines() {
    for (int i = 0; i < kLines; ++i)
        traceFrom("sessionmgr", "line " + std::to_string(i) + ";");
}

struct Content {
    std::uint64_t lines = 0;
    std::uint64_t toldLost = 0;
    bool hasNewestQueueful = false;
};

Content contentOf(const std::string& text) {
    Content content;
    for (std::size_t at = text.find(" line "); at != std::string::npos;
         at = text.find(" line ", at + 1))
        ++content.lines;
    const std::string lost = " trace lines were dropped";
    for (std::size_t at = text.find(lost); at != std::string::npos; at = text.find(lost, at + 1)) {
        const std::size_t number = text.rfind(' ', at - 1) + 1;
        content.toldLost += std::stoull(text.substr(number, at - number));
    }
    std::size_t at = 0;
    for (int i = kLines - 8000; i < kLines && at != std::string::npos; ++i)
        at = text.find(" line " + std::to_string(i) + ";\n", at);
    content.hasNewestQueueful = at != std::string::npos;
    return content;
}

TEST(TraceQueue, SinkThatHangsDelaysNoWriterAndEveryLossIsCountedAndReported) {
    const StuckFile file;
    writeLines();
    EXPECT_GT(TraceLog::instance().dropped(), 0u);
    auto text = std::async(std::launch::async, [&] { return file.readAll(); });
    TraceLog::instance().close();

    const Content content = contentOf(text.get());
    EXPECT_EQ(content.lines + TraceLog::instance().dropped(), static_cast<std::uint64_t>(kLines));
    EXPECT_EQ(content.toldLost, TraceLog::instance().dropped());
    EXPECT_TRUE(content.hasNewestQueueful) << "the oldest lines go, not the newest";
}

/// A console that nobody reads: standard error is a pipe that stays full.
class StuckConsole {
  public:
    StuckConsole() : before_(::dup(STDERR_FILENO)) {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0)
            throw std::runtime_error("no pipe");
        reader_ = ends[0];
        ::dup2(ends[1], STDERR_FILENO);
        ::close(ends[1]);
    }
    ~StuckConsole() {
        ::dup2(before_, STDERR_FILENO);
        ::close(before_);
        ::close(reader_);
    }
    StuckConsole(const StuckConsole&) = delete;
    StuckConsole& operator=(const StuckConsole&) = delete;

  private:
    int before_;
    int reader_ = -1;
};

TEST(TraceQueue, CloseGivesUpASinkThatHangs) {
    const StuckConsole console;
    std::string whyNot;
    ASSERT_TRUE(TraceLog::instance().open(kelp::util::TraceSettings{}, whyNot));
    writeLines();
    EXPECT_GT(TraceLog::instance().dropped(), 0u);
    TraceLog::instance().close();
}

}  // namespace
