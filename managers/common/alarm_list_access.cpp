#include "alarm_list_access.h"

#include "refusal.h"

namespace kelp::managers {

std::shared_ptr<alarms::AlarmService> alarmList() {
    auto service = alarms::sharedService();
    if (!service)
        refuse(kNoAlarmList);
    return service;
}

alarms::Name toAlarmName(const globaldefs::NamingAttributes_T& attributes) {
    alarms::Name name;
    name.reserve(attributes.length());
    for (CORBA::ULong i = 0; i < attributes.length(); ++i)
        name.emplace_back(attributes[i].name.in(), attributes[i].value.in());
    return name;
}

}  // namespace kelp::managers
