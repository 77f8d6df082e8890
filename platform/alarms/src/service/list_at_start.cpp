#include "service/list_at_start.h"

#include <kelp/util/trace_log.h>

#include <optional>
#include <stdexcept>
#include <string>

#include "service/hand_over.h"

namespace kelp::alarms {

namespace {

constexpr const char* kSubject = "alarms";
constexpr std::size_t kRecordsAtATime = 1000;
constexpr std::size_t kBytesAtATime = 4 << 20;

/// The newest undamaged saved list whose next record the log has; none when there is none.
std::optional<ListState> newestUsable(const SavedLists& files, changelog::ChangeLog& log) {
    for (const Position position : files.positions()) {
        if (position + 1 < log.first() || position > log.last()) {
            util::traceFrom(kSubject, "the saved list of alarms " + std::to_string(position) +
                                          " belongs to another log and is not used");
            continue;
        }
        try {
            return files.load(position);
        } catch (const std::runtime_error& damaged) {
            util::traceFrom(kSubject, damaged.what());
        }
    }
    return std::nullopt;
}

void apply(const changelog::Record& record, Position handedOver, ListAtStart& to) {
    Effect effect = to.list.apply(record.position, decode(record.content));
    if (effect.event && record.position > handedOver)
        to.unsent.push_back(std::move(*effect.event));
}

}  // namespace

ListAtStart readList(const ListSettings& settings, const SavedLists& files,
                     changelog::ChangeLog& log) {
    std::optional<ListState> saved = newestUsable(files, log);
    if (!saved && log.mark(kTruncatedMark) != 0)
        throw std::runtime_error(
            "the alarms cannot be restored: the change log begins in the middle, and there is no "
            "undamaged saved list of alarms to begin with");
    ListAtStart start{saved ? AlarmList(settings, std::move(*saved)) : AlarmList(settings), {}, 0};
    start.saved = start.list.state().position();
    const Position handedOver = log.mark(HandOver::kMark);
    Position at = start.saved;
    for (auto records = log.read(at, kRecordsAtATime, kBytesAtATime); !records.empty();
         records = log.read(at, kRecordsAtATime, kBytesAtATime)) {
        for (const changelog::Record& each : records) {
            try {
                apply(each, handedOver, start);
            } catch (const DamagedRecord& damaged) {
                throw std::runtime_error("the record " + std::to_string(each.position) +
                                         " of the change log is damaged: " + damaged.what());
            }
            at = each.position;
        }
    }
    return start;
}

}  // namespace kelp::alarms
