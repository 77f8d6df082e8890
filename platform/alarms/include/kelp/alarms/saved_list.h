#pragma once

#include <kelp/alarms/alarm_json.h>
#include <kelp/alarms/list_state.h>
#include <kelp/util/export.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kelp::alarms {

/// Maximum size of a chunk in octets. A chunk holds one large alarm, or up to 256 KiB of others.
inline constexpr std::size_t kChunkBytesMax = 12 << 20;

/// Writes a state as a stream of chunks, so that a large list needs little memory to be saved. The
/// caller keeps the chunks apart (with their lengths) and adds a checksum.
class KELP_EXPORT ListWriter {
  public:
    explicit ListWriter(std::shared_ptr<const ListState> state);

    /// The next chunk; nothing after the last one.
    std::optional<std::string> next();

  private:
    enum class Section { Begin, Active, History, RecentClears, Done };

    std::string chunkOf(const std::string& section);
    /// The next entry of the section in CBOR; empty after the last one.
    std::string nextEntry();

    std::shared_ptr<const ListState> state_;
    std::vector<Entry> active_;
    std::vector<std::pair<Position, std::shared_ptr<const ListState::RecentClear>>> recent_;
    Section section_ = Section::Begin;
    std::size_t next_ = 0;  ///< in the section
};

/// Reads the chunks that a ListWriter wrote, in their order. add() and finish() throw DamagedRecord
/// for anything else, also for chunks that are missing.
class KELP_EXPORT ListReader {
  public:
    ListReader();

    void add(std::string_view chunk);
    /// The state, when all chunks were added. To be called once.
    ListState finish();

  private:
    enum class Section { Begin, Entries, Done };

    /// Add the first of the items, and remove it from them.
    void addEntry(const std::string& section, std::string_view& items);
    void addActive(const Entry& entry);
    void addPast(const Json& json);
    void addRecentClear(const Json& json);

    ListState state_;
    std::set<AlarmId> recentIds_;
    Section section_ = Section::Begin;
    // how many entries the first chunk announces
    std::uint64_t active_ = 0;
    std::uint64_t past_ = 0;
    std::uint64_t recent_ = 0;
};

}  // namespace kelp::alarms
