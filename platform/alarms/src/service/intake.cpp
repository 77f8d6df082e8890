#include <kelp/alarms/alarm_service.h>
#include <kelp/alarms/intake.h>

#include <algorithm>
#include <utility>

namespace kelp::alarms {

namespace {

using Why = IntakeRefused::Why;

static_assert(kAdapterNameBytesMax + 1 + kKeyBytesMax <= kSubmissionKeyBytesMax);

bool isAdapterName(const std::string& name) {
    return !name.empty() && name.size() <= kAdapterNameBytesMax &&
           std::all_of(name.begin(), name.end(), [](char each) {
               return (each >= 'a' && each <= 'z') || (each >= '0' && each <= '9') || each == '_';
           });
}

}  // namespace

IntakeRefused::~IntakeRefused() = default;

Intake::Intake(const std::string& adapter) : adapter_(adapter), prefix_(adapter + "/") {
    if (!isAdapterName(adapter))
        throw std::invalid_argument("the name of an adapter must be 1 to " +
                                    std::to_string(kAdapterNameBytesMax) +
                                    " lower-case letters, digits and underscores");
}

bool Intake::isReady() {
    return sharedService() != nullptr;
}

Result Intake::raise(const Alarm& alarm, const std::string& key) const {
    if (alarm.perceivedSeverity == Severity::Cleared)
        throw IntakeRefused(Why::Invalid, "perceivedSeverity of a raise must not be PS_CLEARED");
    return submit({alarm}, key).front();
}

Result Intake::clear(Alarm alarm, const std::string& key) const {
    alarm.perceivedSeverity = Severity::Cleared;
    return submit({std::move(alarm)}, key).front();
}

std::vector<Result> Intake::submit(std::vector<Alarm> reports, const std::string& key) const {
    if (key.size() > kKeyBytesMax)
        throw IntakeRefused(Why::Invalid, "the idempotency key is longer than " +
                                              std::to_string(kKeyBytesMax) + " octets");
    const std::shared_ptr<AlarmService> service = sharedService();
    if (!service)
        throw IntakeRefused(Why::NotReady, "the EMS has no list of alarms now");
    std::vector<Submission> changes;
    changes.reserve(reports.size());
    for (Alarm& each : reports)
        changes.emplace_back(Report{std::move(each)});
    return service->submit(std::move(changes), key.empty() ? key : prefix_ + key, adapter_);
}

Alarm newAlarm(Name objectName, const std::string& probableCause, Severity severity) {
    Alarm alarm;
    if (!objectName.empty())
        alarm.nativeEMSName = objectName.back().second;
    alarm.objectType = objectTypeOf(objectName).value_or(ObjectType::Ems);
    alarm.objectName = std::move(objectName);
    alarm.probableCause = probableCause;
    alarm.nativeProbableCause = probableCause;
    alarm.perceivedSeverity = severity;
    return alarm;
}

}  // namespace kelp::alarms
