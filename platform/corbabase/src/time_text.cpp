#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/time_text.h>

#include <array>
#include <cstdio>

namespace NS_CORBA {

namespace {

constexpr int kSlashed = 1;
constexpr int kUtc = 0;

/// False when the moment has no such form.
bool brokenDown(std::time_t moment, bool isUtc, std::tm& fields) {
    return (isUtc ? ::gmtime_r(&moment, &fields) : ::localtime_r(&moment, &fields)) != nullptr;
}

}  // namespace

std::string ConfiguredTimeText(const std::tm& fields) {
    const CorbaBaseAgentConfig& config = *CorbaBaseAgentConfig::Instance();
    std::array<char, 128> text{};
    const int year = fields.tm_year + 1900;
    const int month = fields.tm_mon + 1;
    const int length =
        config.TimeShowAppearance() == kSlashed
            ? std::snprintf(text.data(), text.size(), "%02d/%02d/%04d %02d:%02d:%02d", fields.tm_mday, month,
                            year, fields.tm_hour, fields.tm_min, fields.tm_sec)
            : std::snprintf(text.data(), text.size(), "%04d%02d%02d%02d%02d%02d.0", year, month,
                            fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
    std::string result(length < 0 ? "" : text.data());
    if (config.TimeZoneRefPoint() == kUtc)
        result += 'Z';
    return result;
}

std::string ConfiguredTimeText(std::time_t moment) {
    const bool isUtc = CorbaBaseAgentConfig::Instance()->TimeZoneRefPoint() == kUtc;
    std::tm fields{};
    if (moment == 0 || !brokenDown(moment, isUtc, fields))
        brokenDown(std::time(nullptr), isUtc, fields);
    return ConfiguredTimeText(fields);
}

}  // namespace NS_CORBA
