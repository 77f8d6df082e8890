#include "alarms/acknowledgement.h"

#include <kelp/nms/session.h>
#include <mtnm/notifications.h>

#include <algorithm>
#include <utility>

namespace kelp::nms {

namespace {

using alarms::AlarmId;
using notifications::AlarmAndTCAIDList_T;

/// Maximum number of alarms in a call, so that no message is too large for the EMS.
constexpr std::size_t kAlarmsPerCall = 200;

globaldefs::NVSList_T pairsOf(const alarms::Name& pairs) {
    globaldefs::NVSList_T list;
    list.length(static_cast<CORBA::ULong>(pairs.size()));
    for (CORBA::ULong i = 0; i < list.length(); ++i) {
        list[i].name = pairs[i].first.c_str();
        list[i].value = pairs[i].second.c_str();
    }
    return list;
}

notifications::AlarmOrTCAIdentifier_T identifierOf(const AlarmId& id) {
    notifications::AlarmId_T alarm;
    alarm.objectName = pairsOf(id.objectName);
    alarm.layerRate = id.layerRate;
    alarm.probableCause = id.probableCause.c_str();
    alarm.probableCauseQualifier = id.probableCauseQualifier.c_str();
    notifications::AlarmOrTCAIdentifier_T identifier;
    identifier.alarmId(alarm);
    return identifier;
}

AlarmId idOf(const notifications::AlarmId_T& alarm) {
    AlarmId id;
    for (CORBA::ULong i = 0; i < alarm.objectName.length(); ++i)
        id.objectName.emplace_back(alarm.objectName[i].name.in(), alarm.objectName[i].value.in());
    id.layerRate = alarm.layerRate;
    id.probableCause = alarm.probableCause.in();
    id.probableCauseQualifier = alarm.probableCauseQualifier.in();
    return id;
}

/// What the standard suggests as additional information.
globaldefs::NVSList_T infoOf(const Acknowledgement& what) {
    alarms::Name info;
    if (!what.operatorName.empty())
        info.emplace_back("username", what.operatorName);
    if (!what.note.empty())
        info.emplace_back("notepad", what.note);
    return pairsOf(info);
}

}  // namespace

std::vector<AlarmId> acknowledge(emsMgr::EMSMgr_I_ptr manager, const std::vector<AlarmId>& alarms,
                                 const Acknowledgement& what) {
    std::vector<AlarmId> failed;
    const globaldefs::NVSList_T info = infoOf(what);
    for (std::size_t next = 0; next < alarms.size(); next += kAlarmsPerCall) {
        AlarmAndTCAIDList_T list;
        list.length(static_cast<CORBA::ULong>(std::min(kAlarmsPerCall, alarms.size() - next)));
        for (CORBA::ULong i = 0; i < list.length(); ++i)
            list[i] = identifierOf(alarms[next + i]);
        notifications::AlarmAndTCAIDList_T_var refused;
        if (what.isAcknowledged)
            NmsSession::call("acknowledgeAlarms",
                             [&] { manager->acknowledgeAlarms(list, info, refused.out()); });
        else
            NmsSession::call("unacknowledgeAlarms",
                             [&] { manager->unacknowledgeAlarms(list, info, refused.out()); });
        for (CORBA::ULong i = 0; i < refused->length(); ++i) {
            if (refused[i]._d() == notifications::ALARM)
                failed.push_back(idOf(refused[i].alarmId()));
        }
    }
    return failed;
}

}  // namespace kelp::nms
