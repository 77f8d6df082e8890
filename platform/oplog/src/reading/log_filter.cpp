#include "reading/log_filter.h"

#include <kelp/util/trace_log.h>

#include <string_view>

namespace kelp::oplog {

namespace {

constexpr const char* kFailed = "failed";
constexpr const char* kOk = "ok";

bool isOrAny(const std::string& wanted, const std::string& text) {
    return wanted.empty() || wanted == text;
}

/// An address without a port matches it with any port. An IPv6 address is in brackets if a port
/// follows.
bool isAt(const std::string& wanted, std::string_view address) {
    return address == wanted || address.starts_with(wanted + ":") ||
           address.starts_with("[" + wanted + "]");
}

bool hasOutcome(const std::string& wanted, const std::string& outcome) {
    return wanted == kFailed ? outcome != kOk && !outcome.empty() : isOrAny(wanted, outcome);
}

}  // namespace

LogFilter::LogFilter(const LogQuery& query) : query_(query) {
    for (std::string* text : {&query_.user, &query_.address, &query_.operation, &query_.outcome})
        *text = util::escaped(*text);
}

bool LogFilter::passes(const LogEntry& entry) const {
    if (!isInTime(entry))
        return false;
    if (entry.missing > 0)
        return true;
    return isOrAny(query_.user, entry.user) && isOrAny(query_.operation, entry.operation) &&
           hasOutcome(query_.outcome, entry.outcome) &&
           (query_.address.empty() || isAt(query_.address, entry.nmsAddress) ||
            isAt(query_.address, entry.peer));
}

bool LogFilter::isInTime(const LogEntry& entry) const {
    const UtcTime latest = entry.missing > 0 ? entry.until : entry.time;
    return (!query_.since || latest >= *query_.since) &&
           (!query_.until || entry.time < *query_.until);
}

}  // namespace kelp::oplog
