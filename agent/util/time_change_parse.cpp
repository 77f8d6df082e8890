// Conversion of text to times.

#include <kelp/agent/time_change.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <tuple>

namespace NS_KELPCORBA {
namespace {

constexpr std::size_t kDigits = 14;         // yyyymmddhhmmss
constexpr std::size_t kWithTenths = 16;     // yyyymmddhhmmss.d
constexpr std::size_t kWithTenthsUtc = 17;  // yyyymmddhhmmss.dZ
constexpr std::size_t kSlashed = 19;        // dd/mm/yyyy hh:mm:ss
constexpr std::size_t kSlashedUtc = 20;     // dd/mm/yyyy hh:mm:ssZ
constexpr std::size_t kMonths = 12;

std::tm localNow() {
    const std::time_t now = std::time(nullptr);
    std::tm fields{};
    ::localtime_r(&now, &fields);
    return fields;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Convert a text in a slashed layout to "yyyymmddhhmmss.0" or "yyyymmddhhmmss.0Z". Return any
/// other text unchanged.
std::string unslashed(const std::string& text) {
    const bool isUtc = text.size() == kSlashedUtc && text[19] == 'Z';
    if ((text.size() != kSlashed && !isUtc) || text[2] != '/' || text[5] != '/' ||
        text[10] != ' ' || text[13] != ':' || text[16] != ':')
        return text;
    return text.substr(6, 4) + text.substr(3, 2) + text.substr(0, 2) + text.substr(11, 2) +
           text.substr(14, 2) + text.substr(17, 2) + ".0" + (isUtc ? "Z" : "");
}

int number(const std::string& text, std::size_t from, std::size_t length) {
    int value = 0;
    std::from_chars(text.data() + from, text.data() + from + length, value);
    return value;
}

/// Whether the text after the first 14 digits is valid.
bool hasGoodTail(const std::string& text) {
    if (text.size() == kDigits)
        return true;
    if (text.size() != kWithTenths && text.size() != kWithTenthsUtc)
        return false;
    return text[14] == '.' && isDigit(text[15]) && (text.size() == kWithTenths || text[16] == 'Z');
}

std::uint16_t fieldOf(const std::string& text) {
    return static_cast<std::uint16_t>(std::strtol(text.c_str(), nullptr, 10));
}

std::uint16_t lengthOfMonth(const stDateTimeType& time) {
    constexpr std::uint16_t lengths[kMonths] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    const bool isLong = time.month == 2 && time.year % 4 == 0;
    return static_cast<std::uint16_t>(lengths[time.month - 1] + (isLong ? 1 : 0));
}

auto asTuple(const stDateTimeType& time) {
    return std::tie(time.year, time.month, time.day, time.hour, time.minute, time.second);
}

}  // namespace

std::tm TimeChange::str2Time(std::string text, bool& err) {
    text = unslashed(text);
    err = true;
    if (text.size() < kDigits || !std::all_of(text.begin(), text.begin() + kDigits, isDigit) ||
        !hasGoodTail(text))
        return localNow();
    std::tm fields{};
    fields.tm_year = number(text, 0, 4) - 1900;
    fields.tm_mon = number(text, 4, 2) - 1;
    fields.tm_mday = number(text, 6, 2);
    fields.tm_hour = number(text, 8, 2);
    fields.tm_min = number(text, 10, 2);
    fields.tm_sec = number(text, 12, 2);
    if (fields.tm_mon >= static_cast<int>(kMonths) || fields.tm_mday > 31 || fields.tm_hour > 23 ||
        fields.tm_min > 59 || fields.tm_sec > 59)
        return localNow();
    err = false;
    const bool isUtc = text.size() == kWithTenthsUtc;
    fields.tm_isdst = isUtc ? 0 : -1;
    std::time_t moment = std::mktime(&fields);
    if (isUtc)
        moment -= GetNMTimeZone();
    std::tm local{};
    if (::localtime_r(&moment, &local) == nullptr)
        return localNow();
    return local;
}

stDateTimeType TimeChange::convertStrToDateTimeType(const std::string& text) {
    std::list<std::string> parts;
    KELP_Utils::split(text, "-", parts);
    stDateTimeType time;
    if (parts.size() != 6)
        return time;
    auto part = parts.begin();
    for (std::uint16_t* field :
         {&time.year, &time.month, &time.day, &time.hour, &time.minute, &time.second})
        *field = fieldOf(*part++);
    return time;
}

std::string TimeChange::convertDateTimeTypeToStr(const stDateTimeType& time) {
    std::string text = std::to_string(time.year);
    for (const std::uint16_t field : {time.month, time.day, time.hour, time.minute, time.second})
        text += "-" + std::to_string(field);
    return text;
}

bool TimeChange::checkDateTimeValid(const stDateTimeType& time) {
    return time.month >= 1 && time.month <= kMonths && time.day >= 1 &&
           time.day <= lengthOfMonth(time) && time.hour < 24 && time.minute < 60 &&
           time.second < 60;
}

int TimeChange::compareDateTime(const stDateTimeType& a, const stDateTimeType& b) {
    if (asTuple(a) == asTuple(b))
        return 0;
    return asTuple(a) > asTuple(b) ? 1 : 2;
}

}  // namespace NS_KELPCORBA
