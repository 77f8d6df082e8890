#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
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

/// How far the reading of lists has come when it ends early.
struct WalkPosition {
    enum class Stage {
        Elements,   ///< the elements themselves
        OfElement,  ///< what belongs to an element, one element after the other
        Links,      ///< what belongs to no element
    };
    Stage stage = Stage::Elements;
    std::uint64_t written = 0;        ///< entries of the stage
    std::string next;                 ///< the first element that is not whole; empty: none is known
    std::uint64_t writtenOfNext = 0;  ///< entries of it, the last ones written
};

/// Follows the reading of lists: shows it while it goes on, knows where it stands. interrupt() and
/// position() may be called from any thread, the rest from the one that reads.
class WalkProgress {
  public:
    /// `what` is read, such as "ports".
    explicit WalkProgress(const std::string& what) : bar_(what) {}

    void stageBegins(WalkPosition::Stage stage);
    /// So many elements are gone through.
    void elementsAre(std::uint64_t count) { elements_ = count; }
    void elementBegins(const std::string& element);
    /// The first element that is not written.
    void nextIs(const std::string& element);
    /// A list begins, of so many entries as far as is known.
    void listBegins(std::optional<std::uint64_t> entries);
    void entryWritten();
    /// Shows what has come.
    void batchWritten();

    /// A sentence on standard error.
    void tell(const std::string& text);
    /// Until the next batch.
    void hideBar();

    void interrupt();
    /// Throws Interrupted if that is so.
    void checkInterrupt();
    WalkPosition position();

  private:
    tools::ProgressBar bar_;
    std::chrono::steady_clock::time_point shown_{};
    std::optional<std::uint64_t> expected_;
    std::uint64_t ofList_ = 0;
    std::uint64_t elements_ = 0;
    std::uint64_t elementsBegun_ = 0;

    std::mutex mutex_;
    WalkPosition position_;     ///< guarded by mutex_
    bool interrupted_ = false;  ///< guarded by mutex_
};

}  // namespace kelp::nms
