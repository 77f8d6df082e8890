#include "kelp/alarms/saved_list.h"

#include <algorithm>

#include "kelp/alarms/change.h"
#include "records/cbor.h"
#include "records/record_values.h"

namespace kelp::alarms {

namespace {

constexpr std::uint64_t kListVersion = 1;
/// A chunk ends with the entry that makes it this long.
constexpr std::size_t kChunkBytes = 256 << 10;

constexpr const char* kActive = "active";
constexpr const char* kHistory = "history";
constexpr const char* kRecentClears = "recentClears";
constexpr const char* kEnd = "end";

Json recordOf(const ActiveAlarm& entry) {
    Json json = {{"alarm", recordOf(entry.alarm)},
                 {"notificationId", entry.notificationId},
                 {"changedAt", entry.changedAt},
                 {"raisedAt", entry.raisedAt},
                 {"reportedAt", entry.reportedAt},
                 {"acknowledgedBy", entry.acknowledgedBy},
                 {"acknowledgedAt", entry.acknowledgedAt},
                 {"notepad", entry.notepad},
                 {"repeats", entry.repeats},
                 {"isFlapping", entry.isFlapping},
                 {"raises", entry.raises}};
    if (entry.unsent)
        json["unsent"] = recordOf(*entry.unsent);
    return json;
}

ActiveAlarm readEntry(const Json& json) {
    const bool hasUnsent = json.is_object() && json.contains("unsent");
    const Members members(json, hasUnsent ? 12 : 11);
    ActiveAlarm entry;
    entry.alarm = members.alarm("alarm");
    entry.notificationId = members.natural("notificationId");
    entry.changedAt = members.integer("changedAt");
    entry.raisedAt = members.integer("raisedAt");
    entry.reportedAt = members.integer("reportedAt");
    entry.acknowledgedBy = members.text("acknowledgedBy");
    entry.acknowledgedAt = members.integer("acknowledgedAt");
    entry.notepad = members.text("notepad");
    entry.repeats = members.natural("repeats");
    entry.isFlapping = members.flag("isFlapping");
    entry.raises = members.integers("raises");
    if (hasUnsent)
        entry.unsent = std::make_shared<const Alarm>(members.alarm("unsent"));
    return entry;
}

[[noreturn]] void refuseList(const char* what) {
    throw DamagedRecord(std::string("a saved list of alarms is damaged: ") + what);
}

}  // namespace

ListWriter::ListWriter(std::shared_ptr<const ListState> state)
    : state_(std::move(state)),
      active_(state_->read()),
      recent_(state_->recentClears_.begin(), state_->recentClears_.end()) {}

std::optional<std::string> ListWriter::next() {
    for (;;) {
        switch (section_) {
            case Section::Begin: {
                section_ = Section::Active;
                std::string chunk;
                appendCbor(chunk, {{"v", kListVersion},
                                   {"position", state_->position()},
                                   {kActive, active_.size()},
                                   {kHistory, state_->history().size()},
                                   {kRecentClears, recent_.size()}});
                return chunk;
            }
            case Section::Active:
                if (next_ < active_.size())
                    return chunkOf(kActive);
                section_ = Section::History;
                next_ = 0;
                break;
            case Section::History:
                if (next_ < state_->history().size())
                    return chunkOf(kHistory);
                section_ = Section::RecentClears;
                next_ = 0;
                break;
            case Section::RecentClears:
                if (next_ < recent_.size())
                    return chunkOf(kRecentClears);
                section_ = Section::Done;
                return chunkOf(kEnd);
            case Section::Done:
                return std::nullopt;
        }
    }
}

std::string ListWriter::chunkOf(const std::string& section) {
    std::string chunk;
    appendCbor(chunk, section);
    while (chunk.size() < kChunkBytes) {
        const std::string entry = nextEntry();
        if (entry.empty())
            break;
        chunk += entry;
    }
    return chunk;
}

std::string ListWriter::nextEntry() {
    std::string entry;
    if (section_ == Section::Active && next_ < active_.size()) {
        appendCbor(entry, recordOf(*active_[next_++]));
    } else if (section_ == Section::History && next_ < state_->history().size()) {
        const PastAlarm& past = *state_->history()[next_++];
        appendCbor(entry, {{"last", recordOf(past.last)},
                           {"notificationId", past.notificationId},
                           {"endedAt", past.endedAt}});
    } else if (section_ == Section::RecentClears && next_ < recent_.size()) {
        const auto& [position, clear] = recent_[next_++];
        appendCbor(entry, {{"position", position},
                           {"id", recordOf(clear->id)},
                           {"clearedAt", clear->clearedAt},
                           {"raises", clear->raises}});
    }
    return entry;
}

ListReader::ListReader() = default;

void ListReader::add(std::string_view chunk) {
    if (chunk.size() > kChunkBytesMax)
        refuseList("a chunk is too long");
    const Json head = takeCbor(chunk);
    if (section_ == Section::Begin) {
        if (head.is_object() && head.contains("v") && head["v"] != kListVersion)
            throw DamagedRecord("a saved list of alarms was written by a later version");
        const Members members(head, 5);
        members.natural("v");
        state_.position_ = members.natural("position");
        active_ = members.natural(kActive);
        past_ = members.natural(kHistory);
        recent_ = members.natural(kRecentClears);
        section_ = Section::Entries;
    } else if (section_ == Section::Entries && head == kEnd) {
        section_ = Section::Done;
    } else if (section_ == Section::Entries && head.is_string()) {
        const std::string section = head.get<std::string>();
        while (!chunk.empty())
            addEntry(section, chunk);
    } else {
        refuseList("its chunks have another order");
    }
    if (!chunk.empty())
        refuseList("something is behind the end of a chunk");
}

void ListReader::addEntry(const std::string& section, std::string_view& items) {
    const Json json = takeCbor(items);
    if (section == kActive)
        addActive(std::make_shared<const ActiveAlarm>(readEntry(json)));
    else if (section == kHistory)
        addPast(json);
    else if (section == kRecentClears)
        addRecentClear(json);
    else
        refuseList("a chunk has an unknown name");
}

void ListReader::addActive(const Entry& entry) {
    if (entry->alarm.perceivedSeverity == Severity::Cleared ||
        entry->notificationId > state_.position_)
        refuseList("an active alarm is cleared, or newer than the list");
    const AlarmId id = identityOf(entry->alarm);
    auto& block = state_.blocks_[ListState::blockOf(id)];
    if (!block)
        block = std::make_shared<ListState::Block>();
    auto& entries = block->entries;
    const auto place = std::lower_bound(entries.begin(), entries.end(), id,
                                        [](const Entry& each, const AlarmId& wanted) {
                                            return compareIdentity(each->alarm, wanted) < 0;
                                        });
    if (place != entries.end() && compareIdentity((*place)->alarm, id) == 0)
        refuseList("an alarm is active twice");
    entries.insert(place, entry);
    state_.count(*entry, true);
}

void ListReader::addPast(const Json& json) {
    const Members members(json, 3);
    state_.history_.push_back(std::make_shared<const PastAlarm>(
        PastAlarm{readEntry(members.at("last")), members.natural("notificationId"),
                  members.integer("endedAt")}));
}

void ListReader::addRecentClear(const Json& json) {
    const Members members(json, 4);
    auto clear = std::make_shared<ListState::RecentClear>();
    clear->id = members.id("id");
    clear->clearedAt = members.integer("clearedAt");
    clear->raises = members.integers("raises");
    if (!recentIds_.insert(clear->id).second ||
        !state_.recentClears_.emplace(members.natural("position"), std::move(clear)).second)
        refuseList("a clear is remembered twice");
}

ListState ListReader::finish() {
    if (section_ != Section::Done || state_.size() != active_ || state_.history_.size() != past_ ||
        state_.recentClears_.size() != recent_)
        refuseList("its end, or a chunk, is missing");
    return std::move(state_);
}

}  // namespace kelp::alarms
