#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/time_text.h>

#include <array>
#include <cstdint>
#include <cstdio>

namespace NS_CORBA {

namespace {

// values of [time] appearance and reference
constexpr std::int64_t kSlashed = 1;
constexpr std::int64_t kUtc = 0;

/// Split a moment into fields. False when that is not possible.
bool brokenDown(std::time_t moment, bool isUtc, std::tm& fields) {
    return (isUtc ? ::gmtime_r(&moment, &fields) : ::localtime_r(&moment, &fields)) != nullptr;
}

/// Add an offset to a field, which a caller may have set to any value. Beyond an int it wraps,
/// because signed overflow is undefined.
int shown(int field, unsigned offset) {
    return static_cast<int>(static_cast<unsigned>(field) + offset);
}

std::string textOf(const std::tm& fields, bool isUtc) {
    std::array<char, 128> text{};
    const int year = shown(fields.tm_year, 1900);
    const int month = shown(fields.tm_mon, 1);
    const int length =
        NS_BUNDLEMGR1::ConfigStore::instance().integer("time.appearance") == kSlashed
            ? std::snprintf(text.data(), text.size(), "%02d/%02d/%04d %02d:%02d:%02d",
                            fields.tm_mday, month, year, fields.tm_hour, fields.tm_min,
                            fields.tm_sec)
            : std::snprintf(text.data(), text.size(), "%04d%02d%02d%02d%02d%02d.0", year, month,
                            fields.tm_mday, fields.tm_hour, fields.tm_min, fields.tm_sec);
    std::string result(length < 0 ? "" : text.data());
    if (isUtc)
        result += 'Z';
    return result;
}

bool isUtcReference() {
    return NS_BUNDLEMGR1::ConfigStore::instance().integer("time.reference") == kUtc;
}

}  // namespace

std::string ConfiguredTimeText(const std::tm& fields) {
    return textOf(fields, isUtcReference());
}

std::string ConfiguredTimeText(std::time_t moment) {
    // read once, because it may change meanwhile
    const bool isUtc = isUtcReference();
    std::tm fields{};
    if (moment == 0 || !brokenDown(moment, isUtc, fields))
        brokenDown(std::time(nullptr), isUtc, fields);
    return textOf(fields, isUtc);
}

}  // namespace NS_CORBA
