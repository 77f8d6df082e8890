// Conversion of times to text.

#include <kelp/agent/time_change.h>
#include <kelp/corbabase/time_text.h>

#include <array>
#include <cstdio>

namespace NS_KELPCORBA {
namespace {

constexpr std::size_t kUtcTextLength = 17;

using Conversion = std::tm* (*)(const std::time_t*, std::tm*);

/// The fields of a moment, or of the time now when it cannot be converted.
std::tm fieldsOf(std::time_t moment, Conversion convert) {
    std::tm fields{};
    if (convert(&moment, &fields) == nullptr) {
        const std::time_t now = std::time(nullptr);
        fields = {};
        convert(&now, &fields);
    }
    return fields;
}

/// Add an offset to a field. A caller may pass any value, so the sum wraps: signed overflow would
/// be undefined.
int shown(int field, unsigned offset) {
    return static_cast<int>(static_cast<unsigned>(field) + offset);
}

std::string printed(const char* format, const std::tm& fields) {
    std::array<char, 128> text{};
    const int length = std::snprintf(text.data(), text.size(), format, shown(fields.tm_year, 1900),
                                     shown(fields.tm_mon, 1), fields.tm_mday, fields.tm_hour,
                                     fields.tm_min, fields.tm_sec);
    return std::string(length < 0 ? "" : text.data());
}

constexpr const char* kUtcFormat = "%04d%02d%02d%02d%02d%02d.0Z";
constexpr const char* kDigitsFormat = "%04d%02d%02d%02d%02d%02d";

}  // namespace

std::string TimeChange::time2strByConf(const std::tm& fields) {
    return NS_CORBA::ConfiguredTimeText(fields);
}

std::string TimeChange::time2strByConf(long moment) {
    return NS_CORBA::ConfiguredTimeText(static_cast<std::time_t>(moment));
}

std::string TimeChange::time2strByConf(const std::string& text) {
    bool err = false;
    const std::tm fields = str2Time(text, err);
    return err ? std::string() : time2strByConf(fields);
}

std::string TimeChange::getEMSTimeByNETime(unsigned long offset) {
    return time2strByConf(
        static_cast<long>(static_cast<unsigned long>(std::time(nullptr)) + offset));
}

std::string TimeChange::getTime() {
    return time2strByConf(fieldsOf(std::time(nullptr), ::localtime_r));
}

std::string TimeChange::time2str(const std::tm& fields) {
    return time2strByConf(fields);
}

std::string TimeChange::time2str(long moment) {
    return time2strByConf(fieldsOf(moment, ::localtime_r));
}

std::string TimeChange::time2GMStr(long moment) {
    std::tm fields{};
    if (::gmtime_r(&moment, &fields) == nullptr)
        moment = std::time(nullptr);
    return time2str(moment);
}

std::string TimeChange::getUTCTime() {
    return time2GMStr(std::time(nullptr));
}

std::string TimeChange::localTime2UTCstr(long moment) {
    return time2GMStr(moment);
}

std::string TimeChange::localTime2UTCstr(std::tm fields) {
    return time2GMStr(std::mktime(&fields));
}

std::string TimeChange::UTCtime2str(long moment) {
    std::string text = printed(kUtcFormat, fieldsOf(moment, ::localtime_r));
    if (text.empty())
        text.push_back(' ');
    else if (text.size() != kUtcTextLength)
        text.front() = ' ';
    return text;
}

std::string TimeChange::time2UTCStr(long moment) {
    return printed(kUtcFormat, fieldsOf(moment, ::gmtime_r));
}

std::string TimeChange::time2UTCStr(const std::tm& fields) {
    return printed(kUtcFormat, fields);
}

std::string TimeChange::getLocalTime() {
    return printed(kDigitsFormat, fieldsOf(std::time(nullptr), ::localtime_r));
}

std::tm TimeChange::longTime2TM(long moment) {
    return fieldsOf(moment == 0 ? std::time(nullptr) : moment, ::gmtime_r);
}

long TimeChange::GetNMTimeZone() {
    ::tzset();
    return ::timezone;
}

}  // namespace NS_KELPCORBA
