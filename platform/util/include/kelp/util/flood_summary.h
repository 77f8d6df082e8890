#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kelp::util {

/// Keeps floods of similar events out of a log. The first events of a kind from a source within a
/// period are logged individually. The others are counted, and reported in one summary when the
/// period is over.
///
/// Memory is bounded. Sources beyond `sourcesMax` share one entry for each kind. If there are more
/// than twice that number of entries, further kinds share one entry too, with a default-constructed
/// `Kind`. `Kind` must be ordered. Not thread-safe.
template <class Kind>
class FloodSummary {
  public:
    using Time = std::chrono::steady_clock::time_point;
    using Moment = std::chrono::sys_time<std::chrono::milliseconds>;

    /// Stands for all sources for which there is no separate entry.
    static constexpr const char* kManySources = "many addresses";

    /// Events of one kind and source that were summarised.
    struct Summary {
        Kind kind{};
        std::string source;
        std::uint64_t count = 0;  ///< events that were not logged individually
        Moment first{};           ///< time of the first of these events
        Moment last{};
    };

    FloodSummary(unsigned individually, std::chrono::seconds period, std::size_t sourcesMax)
        : individually_(individually), period_(period), sourcesMax_(sourcesMax) {}

    /// Set the number of events of one kind and source that are logged individually within a
    /// period.
    void setIndividually(unsigned count) { individually_ = count; }

    /// Return true if the event is to be logged individually. Otherwise it is counted.
    bool standsByItself(const Kind& kind, const std::string& source, Moment when, Time now) {
        Period& period = periods_[keyOf(kind, source, now)];
        if (period.counted == 0 && now >= period.end) {
            period.end = now + period_;
            period.single = 0;
        }
        if (period.single < individually_) {
            ++period.single;
            return true;
        }
        if (period.counted++ == 0)
            period.first = when;
        period.last = when;
        return false;
    }

    /// Return the summaries of all periods that are over, and end those periods.
    std::vector<Summary> take(Time now) {
        std::vector<Summary> summaries;
        for (auto& [key, period] : periods_) {
            if (period.counted == 0 || now < period.end)
                continue;
            summaries.push_back({key.first, key.second, period.counted, period.first, period.last});
            period.counted = 0;
        }
        dropPast(now);
        return summaries;
    }
    /// The same for all periods, over or not.
    std::vector<Summary> takeAll() { return take(Time::max()); }

    /// Number of entries.
    std::size_t size() const { return periods_.size(); }

  private:
    using Key = std::pair<Kind, std::string>;
    struct Period {
        Time end{};
        unsigned single = 0;
        std::uint64_t counted = 0;
        Moment first{};
        Moment last{};
    };

    Key keyOf(const Kind& kind, const std::string& source, Time now) {
        Key key{kind, source};
        if (periods_.size() < sourcesMax_ || periods_.contains(key))
            return key;
        if (now >= nextDrop_) {
            // at most once a second, because a flood from many sources would make it expensive
            nextDrop_ = now + std::chrono::seconds(1);
            dropPast(now);
        }
        if (periods_.size() >= sourcesMax_)
            key.second = kManySources;
        if (periods_.size() >= 2 * sourcesMax_ && !periods_.contains(key))
            key.first = Kind{};
        return key;
    }

    /// Drop periods that are over and have nothing to report.
    void dropPast(Time now) {
        std::erase_if(periods_, [now](const auto& each) {
            return each.second.counted == 0 && now >= each.second.end;
        });
    }

    unsigned individually_;
    const std::chrono::seconds period_;
    const std::size_t sourcesMax_;
    std::map<Key, Period> periods_;
    Time nextDrop_{};
};

}  // namespace kelp::util
