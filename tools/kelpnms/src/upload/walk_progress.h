#pragma once

#include <kelp/util/mutex.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "common/progress_bar.h"

namespace kelp::nms {

/// The user wants the program to end.
class Interrupted : public std::runtime_error {
  public:
    Interrupted() : std::runtime_error("interrupted") {}
};

/// How far the reading of lists had come when it was cut short.
struct WalkPosition {
    enum class Stage {
        Elements,   ///< the list of the elements
        OfElement,  ///< what belongs to each element, element by element
        Links,      ///< what does not belong to an element
    };
    Stage stage = Stage::Elements;
    std::uint64_t written = 0;        ///< entries written in this stage
    std::string next;                 ///< the first incomplete element; empty: unknown
    std::uint64_t writtenOfNext = 0;  ///< entries of `next` written so far; they were written last
};

/// Tracks the reading of lists: shows its progress and records its position. interrupt() and
/// position() may be called from any thread, the other operations only from the thread that reads.
class WalkProgress {
  public:
    /// `what` names the entries, such as "ports".
    explicit WalkProgress(const std::string& what) : bar_(what) {}

    void stageBegins(WalkPosition::Stage stage);
    /// Set the number of elements to read.
    void elementsAre(std::uint64_t count) { elements_ = count; }
    void elementBegins(const std::string& element);
    /// Set the first element that is not written yet.
    void nextIs(const std::string& element);
    /// A list of `entries` entries begins. None: the number is unknown.
    void listBegins(std::optional<std::uint64_t> entries);
    void entryWritten();
    /// Show the progress.
    void batchWritten();

    /// Write a sentence to standard error.
    void tell(const std::string& text);
    /// Hide the bar until the next batch.
    void hideBar();

    void interrupt();
    /// Throw Interrupted if interrupt() was called.
    void checkInterrupt();
    WalkPosition position();

  private:
    tools::ProgressBar bar_;
    std::chrono::steady_clock::time_point shown_{};
    std::optional<std::uint64_t> expected_;
    std::uint64_t ofList_ = 0;
    std::uint64_t elements_ = 0;
    std::uint64_t elementsBegun_ = 0;

    util::Mutex mutex_{util::LockRank::Leaf, "WalkProgress::mutex_"};
    WalkPosition position_ KELP_GUARDED_BY(mutex_);
    bool interrupted_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::nms
