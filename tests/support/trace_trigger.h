#pragma once

#include <kelp/util/trace_log.h>

#include <atomic>
#include <functional>
#include <string>
#include <utility>

namespace kelp::test {

/// Runs an action once, when a line with this text is traced, on the thread that traces it. It
/// allows a test to let something happen between two steps of the code under test. The action must
/// not wait for a thread that traces.
class TraceTrigger {
  public:
    TraceTrigger(std::string text, std::function<void()> action)
        : text_(std::move(text)), action_(std::move(action)) {
        levelBefore_ = util::TraceLog::instance().level();
        util::TraceLog::instance().setLevel(3);
        handle_ = util::TraceLog::instance().addListener([this](const util::TraceLine& line) {
            if (line.text.find(text_) != std::string::npos && !fired_.exchange(true))
                action_();
        });
    }
    ~TraceTrigger() {
        util::TraceLog::instance().removeListener(handle_);
        util::TraceLog::instance().setLevel(levelBefore_);
    }
    TraceTrigger(const TraceTrigger&) = delete;
    TraceTrigger& operator=(const TraceTrigger&) = delete;

    bool hasFired() const { return fired_; }

  private:
    const std::string text_;
    const std::function<void()> action_;
    std::atomic<bool> fired_{false};
    int levelBefore_ = 0;
    int handle_ = 0;
};

}  // namespace kelp::test
