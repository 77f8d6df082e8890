#include "records/packed_records.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "records/entry_rules.h"

namespace kelp::oplog {

namespace {

/// 64 KiB, some hundred records. A batch consists of several such pieces.
constexpr std::size_t kEnoughBytes = std::size_t{64} * 1024;
constexpr std::int64_t kUnknown = -1;

/// The header before each record's texts. It never leaves this process.
struct Head {
    std::int64_t time;
    std::int64_t duration;
    std::array<std::uint16_t, RecordView::Texts> lengths;
};

constexpr std::size_t longestRecord() {
    std::size_t bytes = sizeof(Head);
    for (const TextField& field : kTextFields)
        bytes += field.bytesMax + 1;
    return bytes;
}

}  // namespace

RecordView viewOf(const LogEntry& entry) {
    RecordView record;
    record.time = entry.time;
    record.duration = entry.duration;
    for (std::size_t i = 0; i < RecordView::Texts; ++i)
        record.texts[i] = entry.*kTextFields[i].text;
    return record;
}

LogEntry entryOf(const RecordView& record) {
    LogEntry entry;
    entry.time = entry.until = record.time;
    entry.duration = record.duration;
    for (std::size_t i = 0; i < RecordView::Texts; ++i)
        entry.*kTextFields[i].text = record.texts[i];
    return entry;
}

bool PackedRecords::isFull() const {
    return bytes_.size() >= kEnoughBytes;
}

void PackedRecords::add(const RecordView& record) {
    if (bytes_.empty())
        bytes_.reserve(kEnoughBytes + longestRecord());
    Head head{record.time.time_since_epoch().count(),
              record.duration ? record.duration->count() : kUnknown,
              {}};
    for (std::size_t i = 0; i < RecordView::Texts; ++i)
        // one byte more than allowed, so that escape() marks the text as truncated
        head.lengths[i] = static_cast<std::uint16_t>(
            std::min(record.texts[i].size(), kTextFields[i].bytesMax + 1));
    bytes_.append(reinterpret_cast<const char*>(&head), sizeof head);
    for (std::size_t i = 0; i < RecordView::Texts; ++i)
        bytes_.append(record.texts[i].data(), head.lengths[i]);
    ++count_;
}

RecordView PackedRecords::next(std::string_view& rest) {
    Head head;
    std::memcpy(&head, rest.data(), sizeof head);
    rest.remove_prefix(sizeof head);
    RecordView record;
    record.time = UtcTime(std::chrono::milliseconds(head.time));
    if (head.duration != kUnknown)
        record.duration = std::chrono::microseconds(head.duration);
    for (std::size_t i = 0; i < RecordView::Texts; ++i) {
        record.texts[i] = rest.substr(0, head.lengths[i]);
        rest.remove_prefix(head.lengths[i]);
    }
    return record;
}

}  // namespace kelp::oplog
