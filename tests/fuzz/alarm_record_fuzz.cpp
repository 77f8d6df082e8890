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
    // Fields in another order, and defaults that are written out, may be read. Nothing gets lost.
    const std::string written = alarms::encode(change);
    require(alarms::encode(alarms::decode(written)) == written, "a change is read differently");
}

}  // namespace kelp::fuzz
