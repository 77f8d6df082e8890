#include "audit/refusal_summary.h"

namespace NS_CORBA {

using kelp::oplog::SecurityRecord;

std::string withoutPort(const std::string& peer) {
    return peer.substr(0, peer.rfind(':'));
}

std::string countedText(std::uint64_t count, kelp::oplog::UtcTime last) {
    return std::to_string(count) + " more until " + kelp::oplog::timeText(last);
}

bool RefusalSummary::standsByItself(const SecurityRecord& record, Time now) {
    return floods_.standsByItself({record.event, record.outcome}, withoutPort(record.peer),
                                  record.time, now);
}

std::vector<SecurityRecord> RefusalSummary::take(Time now) {
    std::vector<SecurityRecord> records;
    for (Floods::Summary& each : floods_.take(now)) {
        SecurityRecord& record = records.emplace_back();
        record.time = each.first;
        record.event = each.kind.first;
        record.outcome = std::move(each.kind.second);
        record.peer = std::move(each.source);
        record.detail = countedText(each.count, each.last);
    }
    return records;
}

std::vector<SecurityRecord> RefusalSummary::takeAll() {
    return take(Time::max());
}

}  // namespace NS_CORBA
