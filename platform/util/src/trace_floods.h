#pragma once

#include <kelp/util/flood_summary.h>
#include <kelp/util/trace_log.h>

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

namespace kelp::util {

/// Which lines of the limited threads are traced, and the summaries of the others. Callable from
/// any thread.
class TraceFloods {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Never destroyed: destructors of other static objects trace.
    static TraceFloods& instance();

    void setLinesPerMinute(unsigned lines);
    /// True when the line is to be traced: the calling thread is not limited, or the line is one of
    /// the first.
    bool standsByItself(const TraceLine& line, Time now);
    /// Summaries whose minute is over, looked for at most once a second; as texts.
    std::vector<std::string> takeDue(Time now);
    std::vector<std::string> takeAll();

  private:
    /// Lines alike: those of one place in the code.
    struct Kind {
        std::string name;
        std::string sample;  ///< of the first such line
        friend bool operator<(const Kind& one, const Kind& other) { return one.name < other.name; }
    };
    using Floods = FloodSummary<Kind>;

    /// Lines of a source traced as they are, in those of one kind.
    static constexpr unsigned kKindsWorth = 10;

    TraceFloods() = default;
    static std::vector<std::string> textsOf(const std::vector<Floods::Summary>& summaries);

    std::mutex mutex_;  // guards what follows
    Floods floods_{20, std::chrono::minutes(1), 1000};
    /// Whatever their kinds: a peer may choose texts that make each line a kind.
    Floods ofSource_{kKindsWorth * 20, std::chrono::minutes(1), 1000};
    Time nextLook_{};
};

}  // namespace kelp::util
