#pragma once

#include <kelp/alarms/list_state.h>
#include <mtnm/notifications.h>

namespace kelp::managers {

/// Return the alarms that the caller's lists exclude (TMF 814: empty lists exclude nothing).
alarms::AlarmQuery excluding(const notifications::ProbableCauseList_T& probableCauses,
                             const notifications::PerceivedSeverityList_T& severities);

/// Answer a request for active alarms: put the first events into `list` and return an iterator for
/// the rest, which the caller owns. The list is that of the moment of the call, in the order of the
/// notification ids. Each event is the last one that was sent about its alarm. Refuse with
/// kNoAlarmList while the EMS has no list of alarms.
notifications::EventIterator_I_ptr giveActiveAlarms(CORBA::ULong howMany,
                                                    notifications::EventList_T_out list,
                                                    const alarms::AlarmQuery& query);

}  // namespace kelp::managers
