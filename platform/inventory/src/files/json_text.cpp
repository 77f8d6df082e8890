#include "files/json_text.h"

#include <kelp/util/repeated_keys.h>
#include <kelp/util/trace_log.h>

namespace kelp::inventory {

JsonText parsedJson(std::string_view text) {
    JsonText result;
    util::RepeatedKeys keys;
    result.value = Json::parse(text, [&](int, Json::parse_event_t event, Json& parsed) {
        if (!keys.see(event, parsed) && result.repeated.empty())
            result.repeated = keys.path();
        return true;
    });
    return result;
}

std::string repetitionText(const std::vector<std::string>& keys, std::size_t from) {
    std::string text;
    for (std::size_t i = from; i < keys.size(); ++i)
        text += util::escaped(keys[i], 60) + ": ";
    return text + "this key is there twice";
}

}  // namespace kelp::inventory
