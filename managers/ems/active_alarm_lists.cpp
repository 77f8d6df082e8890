#include "common/active_alarms.h"
#include "common/idl_names.h"
#include "ems_mgr.h"

namespace kelp::ems {

namespace {

alarms::AlarmQuery onlyUnacknowledged(alarms::AlarmQuery query) {
    query.onlyUnacknowledged = true;
    return query;
}

/// The alarms that the EMS raised on itself, except those of these severities.
alarms::AlarmQuery ofTheEms(const notifications::PerceivedSeverityList_T& excludedSeverities) {
    alarms::AlarmQuery query = managers::excluding({}, excludedSeverities);
    query.object = {{"EMS", managers::emsName()}};
    query.withContained = false;
    return query;
}

}  // namespace

void EmsMgr_IImpl::getAllEMSAndMEActiveAlarms(
    const notifications::ProbableCauseList_T& excludedCauses,
    const notifications::PerceivedSeverityList_T& excludedSeverities, CORBA::ULong howMany,
    notifications::EventList_T_out list, notifications::EventIterator_I_out iterator) {
    iterator = managers::giveActiveAlarms(howMany, list,
                                          managers::excluding(excludedCauses, excludedSeverities));
}

void EmsMgr_IImpl::getAllEMSAndMEUnacknowledgedActiveAlarms(
    const notifications::ProbableCauseList_T& excludedCauses,
    const notifications::PerceivedSeverityList_T& excludedSeverities, CORBA::ULong howMany,
    notifications::EventList_T_out list, notifications::EventIterator_I_out iterator) {
    iterator = managers::giveActiveAlarms(
        howMany, list, onlyUnacknowledged(managers::excluding(excludedCauses, excludedSeverities)));
}

void EmsMgr_IImpl::getAllEMSSystemActiveAlarms(
    const notifications::PerceivedSeverityList_T& excludedSeverities, CORBA::ULong howMany,
    notifications::EventList_T_out list, notifications::EventIterator_I_out iterator) {
    iterator = managers::giveActiveAlarms(howMany, list, ofTheEms(excludedSeverities));
}

void EmsMgr_IImpl::getAllEMSSystemUnacknowledgedActiveAlarms(
    const notifications::PerceivedSeverityList_T& excludedSeverities, CORBA::ULong howMany,
    notifications::EventList_T_out list, notifications::EventIterator_I_out iterator) {
    iterator =
        managers::giveActiveAlarms(howMany, list, onlyUnacknowledged(ofTheEms(excludedSeverities)));
}

}  // namespace kelp::ems
