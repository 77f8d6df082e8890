#include "alarms/alarm_reader.h"

#include <kelp/nms/list_walk.h>
#include <mtnm/notifications.h>

#include <algorithm>

#include "events/event_extract.h"
#include "upload/network_reader.h"

namespace kelp::nms {

namespace {

constexpr const char* kManager = "EMS";
constexpr const char* kOperation = "getAllEMSAndMEActiveAlarms";

using Walk = ListWalk<notifications::EventList_T, notifications::EventIterator_I>;

void open(Walk& walk, emsMgr::EMSMgr_I_ptr manager) {
    try {
        walk.open([manager](CORBA::ULong most, auto& list, auto& rest) {
            manager->getAllEMSAndMEActiveAlarms(notifications::ProbableCauseList_T(),
                                                notifications::PerceivedSeverityList_T(), most,
                                                list.out(), rest.out());
        });
    } catch (const ProcessingFailure& failure) {
        if (failure.exceptionType() == globaldefs::EXCPT_NOT_IMPLEMENTED)
            throw NoSuchManager(std::string("the EMS does not implement ") + kOperation);
        throw;
    }
}

}  // namespace

AlarmReader::AlarmReader(NmsSession& session, std::uint32_t batch) : batch_(batch) {
    const auto names = session.managerNames();
    if (std::find(names.begin(), names.end(), kManager) == names.end())
        throw NoSuchManager(std::string("the EMS has no manager ") + kManager);
    manager_ = session.managerAs<emsMgr::EMSMgr_I>(kManager);
}

bool AlarmReader::read(const std::function<void(const EventRecord&)>& take,
                       const std::function<bool()>& isEnough) {
    if (isEnough())
        return false;
    Walk walk(kOperation, batch_);
    open(walk, manager_.in());
    for (; walk.hasBatch(); walk.next()) {
        for (CORBA::ULong i = 0; i < walk.batch().length(); ++i)
            take(recordOf(walk.batch()[i]));
        if (isEnough())
            return false;
    }
    if (walk.isDoubtful())
        throw NmsError(walk.remarks().back());
    return true;
}

}  // namespace kelp::nms
