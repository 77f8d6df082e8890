#include "operator/ended_query.h"

#include <kelp/admin/registry.h>
#include <kelp/oplog/log_entry.h>
#include <kelp/util/trace_log.h>

#include <charconv>
#include <cstdint>

namespace NS_KELPCORBA {
namespace {

using kelp::admin::RequestError;

constexpr std::size_t kNameBytesMax = 1024;
constexpr std::uint64_t kPageMax = 1000;
/// The largest number that the database can hold.
constexpr std::uint64_t kNumberMax = INT64_MAX;

[[noreturn]] void refuse(const std::string& name, const std::string& expected) {
    throw RequestError("the parameter \"" + name + "\" must be " + expected);
}

std::string nameIn(const std::string& name, const std::string& value) {
    if (value.empty() || value.size() > kNameBytesMax)
        refuse(name, "a text of 1 to " + std::to_string(kNameBytesMax) + " octets");
    // names are stored like this
    return kelp::util::escaped(value, kNameBytesMax);
}

std::uint64_t numberFrom(const std::string& name, const std::string& value, std::uint64_t max) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), number);
    if (error != std::errc() || end != value.data() + value.size() || number < 1 || number > max)
        refuse(name, "a number from 1 to " + std::to_string(max));
    return number;
}

UtcMs timeIn(const std::string& name, const std::string& value) {
    const auto time = kelp::oplog::timeOf(value);
    if (!time)
        refuse(name, "a time in UTC such as 2025-03-01T12:00:00Z");
    return *time;
}

EndReason reasonIn(const std::string& name, const std::string& value) {
    const std::optional<EndReason> reason = endReasonOf(value);
    if (!reason)
        refuse(name, "one of " + std::string(endReasonWords()));
    return *reason;
}

}  // namespace

std::set<std::string> endedParameters() {
    return {"user", "nms", "reason", "since", "until", "before", "limit"};
}

EndedFilter endedFilterOf(const std::map<std::string, std::string>& parameters) {
    EndedFilter filter;
    for (const auto& [name, value] : parameters) {
        if (name == "user")
            filter.user = nameIn(name, value);
        else if (name == "nms")
            filter.nms = nameIn(name, value);
        else if (name == "reason")
            filter.reason = reasonIn(name, value);
        else if (name == "since")
            filter.since = timeIn(name, value);
        else if (name == "until")
            filter.until = timeIn(name, value);
        else if (name == "before")
            filter.before = numberFrom(name, value, kNumberMax);
        else if (name == "limit")
            filter.limit = static_cast<std::size_t>(numberFrom(name, value, kPageMax));
    }
    return filter;
}

}  // namespace NS_KELPCORBA
