#include <kelp/agent/error_translation.h>
#include <kelp/corbabase/session_name.h>
#include <kelp/util/thread_context.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "alarms/acknowledgement_limits.h"
#include "common/alarm_list_access.h"
#include "common/refusal.h"
#include "ems_mgr.h"

namespace kelp::ems {

namespace {

using notifications::AlarmAndTCAIDList_T;

/// Acknowledgements that are submitted at a time, so that a long list does not hold up the alarms.
constexpr std::size_t kAtATime = 500;

/// The value of one of the names that the standard suggests; empty when it is not given.
std::string valueOf(const globaldefs::NVSList_T& info, const char* name, std::size_t bytesMax) {
    for (CORBA::ULong i = 0; i < info.length(); ++i) {
        if (std::strcmp(info[i].name.in(), name) == 0)
            return util::escaped(info[i].value.in(), bytesMax);
    }
    return {};
}

/// The user of the session that the current request belongs to.
std::string userOfTheSession() {
    const std::string openTag = "<USERNAME_TAG>";
    return NS_UTIL::SelfUtilCommon::Instance()->GetValByTag(
        NS_CORBA::TEUserHelper::GetNmsIPAddrByContext(), openTag, "</USERNAME_TAG>",
        static_cast<int>(openTag.size()));
}

/// Who acknowledges: the user of the session, with the name that the NMS gives its own user.
std::string whoAcknowledges(const globaldefs::NVSList_T& info) {
    const std::string ofTheNms = valueOf(info, "username", kUserBytesMax);
    const std::string user = userOfTheSession();
    return ofTheNms.empty() ? user : ofTheNms + " (" + user + ")";
}

alarms::AlarmId toAlarmId(const notifications::AlarmId_T& id) {
    return {managers::toAlarmName(id.objectName), id.layerRate, id.probableCause.in(),
            id.probableCauseQualifier.in()};
}

/// Acknowledges alarms, and remembers those that could not be.
class AcknowledgementOfMany {
  public:
    AcknowledgementOfMany(const AlarmAndTCAIDList_T& ids, bool isAcknowledged,
                          const globaldefs::NVSList_T& info)
        : ids_(ids),
          isAcknowledged_(isAcknowledged),
          user_(whoAcknowledges(info)),
          notepad_(valueOf(info, "notepad", kNotepadBytesMax)) {}

    /// Return those that failed. The caller owns the list.
    AlarmAndTCAIDList_T* submitAll(alarms::AlarmService& service) {
        const std::shared_ptr<const alarms::ListState> active = service.state();
        for (CORBA::ULong i = 0; i < ids_.length(); ++i) {
            consider(*active, i);
            if (changes_.size() == kAtATime)
                submit(service);
        }
        submit(service);
        return failures();
    }

  private:
    /// Only an acknowledgement that changes something becomes a record of the log.
    void consider(const alarms::ListState& active, CORBA::ULong index) {
        // there are no threshold crossing alerts
        if (ids_[index]._d() != notifications::ALARM) {
            failed_.push_back(index);
            return;
        }
        alarms::AlarmId id = toAlarmId(ids_[index].alarmId());
        const alarms::Entry entry = active.find(id);
        if (!entry) {
            failed_.push_back(index);
        } else if (entry->isAcknowledged() != isAcknowledged_) {
            changes_.push_back(
                alarms::Acknowledge{std::move(id), isAcknowledged_, user_, notepad_});
            places_.push_back(index);
        }
    }

    void submit(alarms::AlarmService& service) {
        const std::vector<alarms::Result> results = submitted(service);
        for (std::size_t i = 0; i < places_.size(); ++i) {
            if (i >= results.size() || results[i].outcome == alarms::Outcome::NotActive)
                failed_.push_back(places_[i]);
        }
        changes_.clear();
        places_.clear();
    }

    /// Empty when the EMS refuses them all now.
    std::vector<alarms::Result> submitted(alarms::AlarmService& service) const {
        try {
            return service.submit(changes_);
        } catch (const alarms::IntakeRefused& refused) {
            util::traceFrom("alarms",
                            std::string("alarms cannot be acknowledged: ") + refused.what());
            return {};
        }
    }

    /// In the order of the caller's list.
    AlarmAndTCAIDList_T* failures() {
        std::sort(failed_.begin(), failed_.end());
        auto list = std::make_unique<AlarmAndTCAIDList_T>();
        list->length(static_cast<CORBA::ULong>(failed_.size()));
        for (CORBA::ULong i = 0; i < list->length(); ++i)
            (*list)[i] = ids_[failed_[i]];
        return list.release();
    }

    const AlarmAndTCAIDList_T& ids_;
    const bool isAcknowledged_;
    const std::string user_;
    const std::string notepad_;
    std::vector<alarms::Submission> changes_;  // to be submitted
    std::vector<CORBA::ULong> places_;         // of changes_ in the caller's list
    std::vector<CORBA::ULong> failed_;         // places
};

}  // namespace

void EmsMgr_IImpl::acknowledgeAlarms(const AlarmAndTCAIDList_T& ids,
                                     const globaldefs::NVSList_T& additionalInfo,
                                     notifications::AlarmAndTCAIDList_T_out failed) {
    failed = AcknowledgementOfMany(ids, true, additionalInfo).submitAll(*managers::alarmList());
}

void EmsMgr_IImpl::unacknowledgeAlarms(const AlarmAndTCAIDList_T& ids,
                                       const globaldefs::NVSList_T& additionalInfo,
                                       notifications::AlarmAndTCAIDList_T_out failed) {
    failed = AcknowledgementOfMany(ids, false, additionalInfo).submitAll(*managers::alarmList());
}

}  // namespace kelp::ems
