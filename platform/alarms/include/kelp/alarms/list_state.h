#pragma once

#include <kelp/alarms/active_alarm.h>
#include <kelp/alarms/alarm_id.h>
#include <kelp/util/export.h>

#include <array>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace kelp::alarms {

/// Which alarms a reader wants. Those that all members accept.
struct AlarmQuery {
    Name object;                ///< empty: every object
    bool withContained = true;  ///< also the objects in `object`: those whose name begins with it
    std::set<Severity> severitiesExcluded;
    std::set<std::string> probableCausesExcluded;
    bool onlyUnacknowledged = false;
    std::function<bool(const ActiveAlarm&)> also;  ///< a condition of the caller; may be empty

    KELP_EXPORT bool accepts(const ActiveAlarm& entry) const;
};

/// The list of alarms as it is after the record at `position()`. Readers get an immutable one from
/// AlarmList::snapshot(), which shares the entries and the blocks that hold them with the list. Any
/// thread may read it.
class KELP_EXPORT ListState {
  public:
    ListState();
    ListState(ListState&&) noexcept = default;
    ListState& operator=(ListState&&) noexcept = default;
    ~ListState() = default;

    /// The last record that was applied; 0 when there is none.
    Position position() const { return position_; }
    /// Number of active alarms.
    std::size_t size() const { return size_; }
    /// Number of active alarms by severity. The number of cleared ones is 0.
    const std::array<std::size_t, kSeverities>& counts() const { return counts_; }
    std::size_t unacknowledged() const { return unacknowledged_; }

    /// The active alarm with this identity; null when there is none.
    Entry find(const AlarmId& id) const;
    /// The active alarms that the query accepts, in the order of their notification ids.
    std::vector<Entry> read(const AlarmQuery& query = {}) const;
    /// Alarms that are over, the oldest first.
    const std::deque<PastEntry>& history() const { return history_; }

    /// Whether both have the same content.
    bool operator==(const ListState& other) const;

  private:
    friend class AlarmList;
    friend class ListWriter;
    friend class ListReader;
    ListState(const ListState&) = default;
    ListState& operator=(const ListState&) = default;

    /// An alarm that was cleared recently: what is needed to find out whether it flaps.
    struct RecentClear {
        AlarmId id;
        std::int64_t clearedAt = 0;
        std::vector<std::int64_t> raises;

        bool operator==(const RecentClear&) const = default;
    };
    /// Entries with near hashes, sorted by identity. Shared with copies of the state made before
    /// `generation`; the list changes only blocks of the present generation.
    struct Block {
        std::uint64_t generation = 0;
        std::vector<Entry> entries;
    };
    static constexpr std::size_t kBlocks = 1024;

    static std::size_t blockOf(const AlarmId& id) { return hashOf(id) % kBlocks; }
    void count(const ActiveAlarm& entry, bool isAdded);

    Position position_ = 0;
    std::size_t size_ = 0;
    std::array<std::size_t, kSeverities> counts_{};
    std::size_t unacknowledged_ = 0;
    std::vector<std::shared_ptr<Block>> blocks_;  ///< kBlocks; null: empty
    std::deque<PastEntry> history_;
    /// By the position of the clear, so that the oldest are first; one for an identity.
    std::map<Position, std::shared_ptr<const RecentClear>> recentClears_;
};

}  // namespace kelp::alarms
