#include <kelp/alarms/change.h>

#include "targets.h"

namespace kelp::fuzz {

void fuzzAlarmRecord(Input input) {
    const std::string record = textOf(input);
    alarms::Change change;
    try {
        change = alarms::decode(record);
    } catch (const alarms::DamagedRecord&) {
        return;
    }
    require(alarms::encode(change) == record, "a record is read that was never written");
}

}  // namespace kelp::fuzz
