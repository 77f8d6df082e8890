#pragma once

#include <kelp/util/trace_log.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace kelp::test {

/// Collects the trace lines written during its lifetime, at the highest trace level. Texts are
/// compared as the log stores them: search for a text with control characters by its escaped form.
class TraceCapture {
  public:
    TraceCapture() : levelBefore_(util::TraceLog::instance().level()) {
        util::TraceLog::instance().setLevel(3);
        handle_ = util::TraceLog::instance().addListener([this](const util::TraceLine& line) {
            const std::lock_guard guard(mutex_);
            lines_.push_back(line);
            grown_.notify_all();
        });
    }
    ~TraceCapture() {
        util::TraceLog::instance().removeListener(handle_);
        util::TraceLog::instance().setLevel(levelBefore_);
    }
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    bool contains(const std::string& text) const { return count(text) > 0; }

    /// Return the number of lines that contain the text.
    std::size_t count(const std::string& text) const {
        const std::lock_guard guard(mutex_);
        return countLocked(util::escaped(text));
    }

    /// Return true as soon as a line contains the text, or false at the deadline.
    bool waitFor(const std::string& text,
                 std::chrono::milliseconds deadline = std::chrono::seconds(10)) const {
        const std::string wanted = util::escaped(text);
        std::unique_lock lock(mutex_);
        return grown_.wait_for(lock, deadline, [&] { return countLocked(wanted) > 0; });
    }

    /// Return the texts of the lines so far, in the order in which they were written.
    std::vector<std::string> lines() const {
        const std::lock_guard guard(mutex_);
        std::vector<std::string> texts;
        for (const util::TraceLine& line : lines_)
            texts.push_back(line.text);
        return texts;
    }

    /// Return the lines so far with everything recorded about them.
    std::vector<util::TraceLine> records() const {
        const std::lock_guard guard(mutex_);
        return lines_;
    }

    void clear() {
        const std::lock_guard guard(mutex_);
        lines_.clear();
    }

  private:
    std::size_t countLocked(const std::string& wanted) const {
        std::size_t found = 0;
        for (const util::TraceLine& line : lines_)
            found += line.text.find(wanted) != std::string::npos ? 1 : 0;
        return found;
    }

    const int levelBefore_;
    int handle_ = 0;
    mutable std::mutex mutex_;
    mutable std::condition_variable grown_;
    std::vector<util::TraceLine> lines_;
};

}  // namespace kelp::test
