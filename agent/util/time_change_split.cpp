#include <kelp/agent/time_change.h>

#include <algorithm>

namespace NS_KELPCORBA {

void KELP_Utils::split(const std::string& text, const std::string& delims,
                       std::list<std::string>& parts) {
    std::size_t start = text.find_first_not_of(delims);
    while (start != std::string::npos) {
        const std::size_t end = std::min(text.find(delims, start), text.size());
        parts.push_back(text.substr(start, end - start));
        start = end >= text.size() ? std::string::npos : text.find_first_not_of(delims, end + 1);
    }
}

}  // namespace NS_KELPCORBA
