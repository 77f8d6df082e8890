#include "alarms/page_query.h"

#include <kelp/admin/json_text.h>
#include <kelp/agent/time_change.h>
#include <kelp/alarms/alarm_json.h>
#include <kelp/alarms/enum_names.h>
#include <kelp/util/joined.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <charconv>
#include <ctime>
#include <optional>

namespace kelp::ems {

namespace {

constexpr std::size_t kShownBytesMax = 100;

/// The parameters while they are read.
class PageParameters {
  public:
    explicit PageParameters(const std::map<std::string, std::string>& given) : given_(given) {}

    /// Call `read` with the value, if there is one. It returns what the value must be if it is
    /// wrong.
    template <class Read>
    void read(const std::string& name, Read read) const {
        const auto found = given_.find(name);
        if (found == given_.end())
            return;
        const std::string expected = read(found->second);
        if (!expected.empty())
            throw admin::RequestError(name + " must be " + expected + ", but is \"" +
                                      util::escaped(found->second, kShownBytesMax) + "\"");
    }

  private:
    const std::map<std::string, std::string>& given_;
};

/// A number that is written in digits alone.
std::optional<std::uint64_t> numberIn(const std::string& text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

std::string readPosition(const std::string& text, alarms::Position& position) {
    const auto number = numberIn(text);
    if (!number)
        return "a number";
    position = *number;
    return {};
}

std::string readLimit(const std::string& text, std::size_t& limit) {
    const auto number = numberIn(text);
    if (!number || *number == 0 || *number > kPageAlarmsMax)
        return "a number from 1 to " + std::to_string(kPageAlarmsMax);
    limit = static_cast<std::size_t>(*number);
    return {};
}

std::string readTime(const std::string& text, std::int64_t& time) {
    constexpr std::int64_t kMicrosecondsPerSecond = 1'000'000;
    bool isWrong = false;
    std::tm local = NS_KELPCORBA::TimeChange::str2Time(text, isWrong);
    if (isWrong)
        return "a time such as 20240105030405.0Z";
    time = static_cast<std::int64_t>(std::mktime(&local)) * kMicrosecondsPerSecond;
    return {};
}

/// Severities with commas between them.
std::string readSeverities(const std::string& text, std::set<alarms::Severity>& excluded) {
    const std::vector<std::string>& names = alarms::severityNames();
    for (std::size_t i = 0; i < names.size(); ++i)
        excluded.insert(static_cast<alarms::Severity>(i));
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const auto name = std::find(names.begin(), names.end(), text.substr(begin, end - begin));
        if (name == names.end())
            return util::joined(names, ", ") + ", or several of them with commas between them";
        excluded.erase(static_cast<alarms::Severity>(name - names.begin()));
        begin = end + 1;
    }
    return {};
}

std::string readObject(const std::string& text, alarms::Name& object) {
    try {
        object = alarms::readName(admin::parseJson(text), "object");
        if (!object.empty())
            return {};
    } catch (const admin::RequestError&) {
    } catch (const alarms::WrongAlarm&) {
    }
    return R"(the name of an object in JSON, such as {"EMS":"Kelp/EMS","ManagedElement":"NE-1"})";
}

}  // namespace

const std::set<std::string>& pageParameters() {
    static const std::set<std::string> names = {
        "severity", "object", "probableCause", "acknowledged", "since",
        "until",    "limit",  "after",         "at",           "order"};
    return names;
}

PageQuery readPageQuery(const std::map<std::string, std::string>& parameters) {
    PageQuery query;
    std::optional<std::string> cause;
    std::optional<bool> isAcknowledged;
    const PageParameters given(parameters);
    const auto into = [](auto& target, auto read) {
        return [&target, read](const std::string& text) { return read(text, target); };
    };
    given.read("severity", into(query.alarms.severitiesExcluded, readSeverities));
    given.read("object", into(query.alarms.object, readObject));
    given.read("since", into(query.since, readTime));
    given.read("until", into(query.until, readTime));
    given.read("limit", into(query.limit, readLimit));
    given.read("after", into(query.after, readPosition));
    given.read("at", into(query.at, readPosition));
    given.read("order", [&](const std::string& text) -> std::string {
        query.isNewestFirst = text == "newest";
        return text == "newest" || text == "oldest" ? "" : "oldest or newest";
    });
    given.read("probableCause", [&](const std::string& text) -> std::string {
        cause = text;
        return {};
    });
    given.read("acknowledged", [&](const std::string& text) -> std::string {
        isAcknowledged = text == "true";
        return text == "true" || text == "false" ? "" : "true or false";
    });
    if (cause || isAcknowledged)
        query.alarms.also = [cause, isAcknowledged](const alarms::ActiveAlarm& entry) {
            return (!cause || entry.alarm.probableCause == *cause) &&
                   (!isAcknowledged || entry.isAcknowledged() == *isAcknowledged);
        };
    return query;
}

}  // namespace kelp::ems
