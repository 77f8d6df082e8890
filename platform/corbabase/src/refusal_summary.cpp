#include "refusal_summary.h"

namespace NS_CORBA {

namespace {

using kelp::oplog::SecurityRecord;

/// What stands for all addresses beyond those that there is room for.
const std::string kManyAddresses = "many addresses";

std::string withoutPort(const std::string& peer) {
    return peer.substr(0, peer.rfind(':'));
}

}  // namespace

RefusalSummary::Key RefusalSummary::keyOf(const SecurityRecord& record, Time now) {
    Key key{record.event, record.outcome, withoutPort(record.peer)};
    if (periods_.size() < addressesMax_ || periods_.contains(key))
        return key;
    dropPast(now);
    if (periods_.size() >= addressesMax_)
        std::get<2>(key) = kManyAddresses;
    return key;
}

bool RefusalSummary::standsByItself(const SecurityRecord& record, Time now) {
    Period& period = periods_[keyOf(record, now)];
    if (period.counted == 0 && now >= period.end) {
        period.end = now + kPeriod;
        period.single = 0;
    }
    if (period.single < kSingly) {
        ++period.single;
        return true;
    }
    if (period.counted++ == 0)
        period.first = record.time;
    period.last = record.time;
    return false;
}

/// Periods that have nothing to tell any more.
void RefusalSummary::dropPast(Time now) {
    std::erase_if(periods_,
                  [now](const auto& each) { return each.second.counted == 0 && now >= each.second.end; });
}

std::vector<SecurityRecord> RefusalSummary::take(Time now) {
    std::vector<SecurityRecord> records;
    for (auto& [key, period] : periods_) {
        if (period.counted == 0 || now < period.end)
            continue;
        records.push_back(told(key, period));
        period.counted = 0;
    }
    dropPast(now);
    return records;
}

std::vector<SecurityRecord> RefusalSummary::takeAll() {
    return take(Time::max());
}

SecurityRecord RefusalSummary::told(const Key& key, const Period& period) {
    SecurityRecord record;
    record.time = period.first;
    record.event = std::get<0>(key);
    record.outcome = std::get<1>(key);
    record.peer = std::get<2>(key);
    record.detail = std::to_string(period.counted) + " more until " + kelp::oplog::timeText(period.last);
    return record;
}

}  // namespace NS_CORBA
