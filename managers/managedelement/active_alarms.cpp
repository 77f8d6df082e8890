#include "common/active_alarms.h"

#include "common/find_object.h"
#include "managed_element_mgr.h"

namespace kelp::managedelement {

namespace {

/// The alarms of an element and of the objects in it. Refuses an element that does not exist.
alarms::AlarmQuery ofTheElement(const globaldefs::NamingAttributes_T& element,
                                const notifications::ProbableCauseList_T& excludedCauses,
                                const notifications::PerceivedSeverityList_T& excludedSeverities) {
    const std::string name =
        managers::withInventory([&](const std::shared_ptr<inventory::Inventory>& in) {
            return managers::findRow<inventory::ManagedElementName>(*in, element).name;
        });
    alarms::AlarmQuery query = managers::excluding(excludedCauses, excludedSeverities);
    query.object = {{"EMS", managers::emsName()}, {"ManagedElement", name}};
    return query;
}

}  // namespace

void ManagedElementMgr_I::getAllActiveAlarms(
    const globaldefs::NamingAttributes_T& element,
    const notifications::ProbableCauseList_T& excludedCauses,
    const notifications::PerceivedSeverityList_T& excludedSeverities, CORBA::ULong howMany,
    notifications::EventList_T_out list, notifications::EventIterator_I_out iterator) {
    iterator = managers::giveActiveAlarms(
        howMany, list, ofTheElement(element, excludedCauses, excludedSeverities));
}

void ManagedElementMgr_I::getAllUnacknowledgedActiveAlarms(
    const globaldefs::NamingAttributes_T& element,
    const notifications::ProbableCauseList_T& excludedCauses,
    const notifications::PerceivedSeverityList_T& excludedSeverities, CORBA::ULong howMany,
    notifications::EventList_T_out list, notifications::EventIterator_I_out iterator) {
    alarms::AlarmQuery query = ofTheElement(element, excludedCauses, excludedSeverities);
    query.onlyUnacknowledged = true;
    iterator = managers::giveActiveAlarms(howMany, list, query);
}

}  // namespace kelp::managedelement
