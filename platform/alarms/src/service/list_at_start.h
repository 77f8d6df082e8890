#pragma once

#include <kelp/alarms/alarm_list.h>
#include <kelp/changelog/change_log.h>

#include <vector>

#include "service/saved_lists.h"

namespace kelp::alarms {

/// The mark in the log up to which records have been truncated: without a saved list the log alone
/// does not tell what is active.
inline constexpr const char* kTruncatedMark = "truncated";

/// The list after the newest record of the log, and the events that were perhaps not handed over.
struct ListAtStart {
    AlarmList list;
    std::vector<Event> unsent;
    Position saved = 0;  ///< of the saved list that it began with
};

/// Read the newest saved list that is not damaged, and apply the records behind it. Throws
/// std::runtime_error with one sentence.
ListAtStart readList(const ListSettings& settings, const SavedLists& files,
                     changelog::ChangeLog& log);

}  // namespace kelp::alarms
