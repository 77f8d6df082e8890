// Alarms as text, written on another thread than the one that raises them.

#include "events/alarm_log_writer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "numbered_events.h"
#include "support/temporary_directory.h"
#include "support/trace_capture.h"
#include "support/wait_until.h"
#include "unit/corbabase/config_text.h"

namespace NS_CORBA::test {
namespace {

using kelp::test::contentOf;
using kelp::test::waitUntil;

class AlarmWriting : public testing::Test {
  protected:
    AlarmWriting() { kelp::test::configure(""); }

    std::unique_ptr<AlarmLogWriter> writer(std::size_t waitingMax = 1000) {
        return std::make_unique<AlarmLogWriter>(
            file_,
            [this](std::stringstream& out, const CosNotification::StructuredEvent& alarm) {
                std::unique_lock lock(mutex_);
                ++begun_;
                changed_.wait(lock, [this] { return !held_; });
                if (numberOf(alarm) == unspeakable_)
                    throw std::bad_alloc();
                out << "number=" << numberOf(alarm) << '\n';
            },
            waitingMax);
    }
    void hold(bool held) {
        const std::lock_guard guard(mutex_);
        held_ = held;
        changed_.notify_all();
    }
    std::string content() const { return contentOf(file_); }
    /// Return the entries in the order of the file.
    std::vector<int> numbers() const {
        std::vector<int> found;
        const std::string text = content();
        const std::string mark = "\nnumber=";
        for (std::size_t at = text.find(mark); at != std::string::npos;
             at = text.find(mark, at + 1))
            found.push_back(std::stoi(text.substr(at + mark.size())));
        return found;
    }

    const kelp::test::TemporaryDirectory folder_;
    const std::filesystem::path file_ = folder_ / "alarms.log";
    std::mutex mutex_;
    std::condition_variable changed_;
    bool held_ = false;
    std::atomic<int> begun_{0};
    int unspeakable_ = 0;
};

TEST_F(AlarmWriting, WritesEveryAlarmInOrderAndNothingElse) {
    const auto log = writer();
    log->enqueue({numbered(1), numbered(2, "NT_HEARTBEAT"), numbered(3)});
    log->enqueue({});
    log->enqueue({numbered(4)});
    EXPECT_TRUE(waitUntil([&] { return numbers().size() == 3; })) << "without a stop";
    EXPECT_THAT(numbers(), testing::ElementsAre(1, 3, 4));
    EXPECT_EQ(content().rfind("alarm taken in at 20", 0), 0u);
}

TEST_F(AlarmWriting, StopWritesWaitingAlarms) {
    auto log = writer();
    hold(true);
    log->enqueue(numbered(1, 500));
    hold(false);
    log->stop();
    EXPECT_EQ(numbers().size(), 500u);
    log->enqueue(numbered(501, 501));
    log.reset();
    EXPECT_EQ(numbers().size(), 500u);
}

TEST_F(AlarmWriting, SaysHowManyAreMissingWhenTooManyWait) {
    const auto log = writer(3);
    hold(true);
    log->enqueue(numbered(1, 1));
    ASSERT_TRUE(waitUntil([&] { return begun_ == 1; }));
    log->enqueue(numbered(2, 10));
    hold(false);
    log->stop();
    log->enqueue(numbered(11, 11));
    EXPECT_THAT(numbers(), testing::ElementsAre(1, 2, 3, 4));
    EXPECT_NE(content().find("alarms missing here: 6\n"), std::string::npos) << content();
}

TEST_F(AlarmWriting, AnAlarmThatCannotBeFormattedIsCountedAndTraced) {
    const kelp::test::TraceCapture trace;
    unspeakable_ = 2;
    const auto log = writer();
    log->enqueue(numbered(1, 3));
    log->stop();
    EXPECT_THAT(numbers(), testing::ElementsAre(1, 3));
    EXPECT_NE(content().find("alarms missing here: 1\n"), std::string::npos);
    EXPECT_TRUE(trace.contains("could not be put into words"));
}

TEST_F(AlarmWriting, AFileThatCannotBeOpenedIsAnError) {
    std::filesystem::create_directory(file_);
    EXPECT_THROW(writer(), std::exception);
}

}  // namespace
}  // namespace NS_CORBA::test
