#include <kelp/agent/time_change.h>

#include <string>
#include <tuple>

#include "targets.h"

using NS_KELPCORBA::KELP_Utils;
using NS_KELPCORBA::stDateTimeType;
using NS_KELPCORBA::TimeChange;

namespace kelp::fuzz {

namespace {

auto fieldsOf(const std::tm& time) {
    return std::tuple(time.tm_year, time.tm_mon, time.tm_mday, time.tm_hour, time.tm_min,
                      time.tm_sec);
}

auto fieldsOf(const stDateTimeType& time) {
    return std::tuple(time.year, time.month, time.day, time.hour, time.minute, time.second);
}

void readTime(const std::string& text) {
    bool err = false;
    const std::tm time = TimeChange::str2Time(text, err);
    require(time.tm_mon >= 0 && time.tm_mon < 12 && time.tm_mday >= 1 && time.tm_mday <= 31 &&
                time.tm_hour >= 0 && time.tm_hour < 24 && time.tm_min >= 0 && time.tm_min < 60,
            "what is read is no time");
    if (err)
        return;
    // this function writes the fields as they are, although it appends "Z"
    std::string said = TimeChange::time2UTCStr(time);
    said.pop_back();
    if (time.tm_year + 1900 < 0 || time.tm_year + 1900 > 9999)
        return;
    const std::tm again = TimeChange::str2Time(said, err);
    require(!err && fieldsOf(again) == fieldsOf(time),
            "what is read is read otherwise when said again");
}

void readRecord(const std::string& text) {
    const stDateTimeType record = TimeChange::convertStrToDateTimeType(text);
    const stDateTimeType again =
        TimeChange::convertStrToDateTimeType(TimeChange::convertDateTimeTypeToStr(record));
    require(fieldsOf(again) == fieldsOf(record), "a record is read otherwise when said again");
    require(TimeChange::compareDateTime(record, again) == 0, "a record differs from itself");
}

void splitAt(const std::string& delims, const std::string& text) {
    std::list<std::string> parts;
    KELP_Utils::split(text, delims, parts);
    std::size_t from = 0;
    for (const std::string& part : parts) {
        require(!part.empty() && part.find(delims) == std::string::npos &&
                    delims.find(part.front()) == std::string::npos,
                "a part is none");
        const std::size_t at = text.find(part, from);
        require(at != std::string::npos, "a part is not in the text");
        from = at + part.size();
    }
}

}  // namespace

void fuzzTimeText(Input input) {
    const std::string text = textOf(input);
    readTime(text);
    readRecord(text);
    splitAt("-", text);
    splitAt(", ", text);
    // use parts of the text itself as delimiters, so that they occur in it
    if (!text.empty())
        splitAt(text.substr(text.size() / 2, 1 + static_cast<std::size_t>(input[0] % 3)), text);
}

}  // namespace kelp::fuzz
