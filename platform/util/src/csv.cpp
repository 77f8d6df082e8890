#include <kelp/util/csv.h>

namespace kelp::util {

std::string csvField(std::string_view text) {
    if (text.find_first_of("\",\r\n") == std::string_view::npos)
        return std::string(text);
    std::string field = "\"";
    for (const char each : text) {
        if (each == '"')
            field += '"';
        field += each;
    }
    return field + '"';
}

}  // namespace kelp::util
