#pragma once

#include <kelp/util/flood_summary.h>
#include <kelp/util/mutex.h>
#include <kelp/util/trace_log.h>

#include <chrono>
#include <string>
#include <vector>

namespace kelp::util {

/// Decides which lines of the limited threads are traced, and summarises the others. Any thread may
/// call it.
class TraceFloods {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// Never destroyed, because destructors of other static objects trace.
    static TraceFloods& instance();

    void setLinesPerMinute(unsigned lines) KELP_EXCLUDES(mutex_);
    /// Return true if the line is to be traced as it is: the calling thread is not limited, or the
    /// line is one of the first.
    bool standsByItself(const TraceLine& line, Time now) KELP_EXCLUDES(mutex_);
    /// Return the texts of the summaries whose minute is over. Checks at most once a second.
    std::vector<std::string> takeDue(Time now) KELP_EXCLUDES(mutex_);
    std::vector<std::string> takeAll() KELP_EXCLUDES(mutex_);

  private:
    /// Lines from one place in the code count as alike.
    struct Kind {
        std::string name;
        std::string sample;  ///< text of the first such line
        friend bool operator<(const Kind& one, const Kind& other) { return one.name < other.name; }
    };
    using Floods = FloodSummary<Kind>;

    /// A source may cause 10 times as many individual lines as one kind may have.
    static constexpr unsigned kKindsWorth = 10;

    TraceFloods() = default;
    static std::vector<std::string> textsOf(const std::vector<Floods::Summary>& summaries);

    Mutex mutex_{LockRank::Trace, "TraceFloods::mutex_"};
    Floods floods_ KELP_GUARDED_BY(mutex_){20, std::chrono::minutes(1), 1000};
    /// Counts the lines of a source whatever their kinds, because a peer may choose texts that make
    /// each line a separate kind.
    Floods ofSource_ KELP_GUARDED_BY(mutex_){kKindsWorth * 20, std::chrono::minutes(1), 1000};
    Time nextLook_ KELP_GUARDED_BY(mutex_){};
};

}  // namespace kelp::util
