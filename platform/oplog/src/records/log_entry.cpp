#include <kelp/oplog/log_entry.h>
#include <kelp/util/trace_log.h>

#include <cstdio>
#include <stdexcept>

#include "records/entry_rules.h"

namespace kelp::oplog {

namespace {

using std::chrono::days;

}  // namespace

UtcTime now() {
    return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
}

std::string timeText(UtcTime time) {
    const auto day = std::chrono::floor<days>(time);
    const std::chrono::year_month_day date(day);
    const std::chrono::hh_mm_ss clock(time - day);
    char text[64];
    std::snprintf(
        text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%03dZ", static_cast<int>(date.year()),
        static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
        static_cast<int>(clock.hours().count()), static_cast<int>(clock.minutes().count()),
        static_cast<int>(clock.seconds().count()), static_cast<int>(clock.subseconds().count()));
    return text;
}

std::optional<UtcTime> timeOf(const std::string& text) {
    static constexpr const char* kForm = "0000-00-00T00:00:00.000";
    constexpr std::size_t kDate = 10, kMinutes = 16, kSeconds = 19, kAll = 23;
    std::string form = text;
    if (form.size() > kDate && form.back() == 'Z')
        form.pop_back();
    if (form.size() > kDate && form[kDate] == ' ')
        form[kDate] = 'T';
    if (form.size() != kDate && form.size() != kMinutes && form.size() != kSeconds &&
        form.size() != kAll)
        return std::nullopt;
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool isDigit = form[i] >= '0' && form[i] <= '9';
        if (kForm[i] == '0' ? !isDigit : form[i] != kForm[i])
            return std::nullopt;
    }
    form += kForm + form.size();
    const auto number = [&form](std::size_t at, std::size_t length) {
        return std::stoi(form.substr(at, length));
    };
    const std::chrono::year_month_day date{std::chrono::year(number(0, 4)),
                                           std::chrono::month(static_cast<unsigned>(number(5, 2))),
                                           std::chrono::day(static_cast<unsigned>(number(8, 2)))};
    if (!date.ok() || number(11, 2) > 23 || number(14, 2) > 59 || number(17, 2) > 59)
        return std::nullopt;
    return std::chrono::sys_days(date) + std::chrono::hours(number(11, 2)) +
           std::chrono::minutes(number(14, 2)) + std::chrono::seconds(number(17, 2)) +
           std::chrono::milliseconds(number(20, 3));
}

std::string textOf(SecurityEvent event) {
    switch (event) {
        case SecurityEvent::LogIn:
            return "login";
        case SecurityEvent::LogOut:
            return "logout";
        case SecurityEvent::RefusedAddress:
            return "refused-address";
        case SecurityEvent::RefusedConnection:
            return "refused-connection";
        case SecurityEvent::RefusedPeer:
            return "refused-peer";
        case SecurityEvent::LockOut:
            return "lock-out";
        case SecurityEvent::UserAdministration:
            return "user";
        case SecurityEvent::ConfigurationChange:
            return "configuration";
        case SecurityEvent::TooManyRequests:
            return "too-many-requests";
        case SecurityEvent::NamingChange:
            return "naming";
    }
    return "";
}

const char* wordOf(ObjectKind kind) {
    switch (kind) {
        case ObjectKind::Unknown:
            return "";
        case ObjectKind::Factory:
            return "factory";
        case ObjectKind::Session:
            return "session";
        case ObjectKind::Manager:
            return "manager";
        case ObjectKind::Naming:
            return "naming";
        case ObjectKind::Channel:
            return "channel";
        case ObjectKind::Iterator:
            return "iterator";
    }
    return "";
}

void cut(LogEntry& entry) {
    for (const TextField& field : kTextFields) {
        // one byte more than allowed, so that escape() marks the text as truncated
        if (std::string& text = entry.*field.text; text.size() > field.bytesMax) {
            text.resize(field.bytesMax + 1);
            text.shrink_to_fit();
        }
    }
}

void escape(LogEntry& entry) {
    for (const TextField& field : kTextFields)
        entry.*field.text = util::escaped(entry.*field.text, field.bytesMax);
}

}  // namespace kelp::oplog
