#include "time_text_fuzz.h"

#include <kelp/agent/time_change.h>

#include <cstdlib>
#include <string>

using NS_KELPCORBA::KELP_Utils;
using NS_KELPCORBA::TimeChange;

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    bool err = false;
    const std::tm time = TimeChange::str2Time(text, err);
    require(time.tm_mon >= 0 && time.tm_mon < 12 && time.tm_hour >= 0 && time.tm_hour < 24);
    require(err || !TimeChange::time2UTCStr(time).empty());

    const auto record = TimeChange::convertStrToDateTimeType(text);
    const auto again = TimeChange::convertStrToDateTimeType(TimeChange::convertDateTimeTypeToStr(record));
    require(TimeChange::compareDateTime(record, again) == 0);

    const std::size_t delimiter = size == 0 ? 0 : data[0] % 3u;
    std::list<std::string> parts;
    KELP_Utils::split(text, text.substr(0, delimiter + 1), parts);
    std::size_t length = 0;
    for (const std::string& part : parts)
        length += part.size();
    require(length <= size);
    return 0;
}
