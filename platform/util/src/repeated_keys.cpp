#include <kelp/util/repeated_keys.h>

namespace kelp::util {

void RepeatedKeys::beginObject() {
    open_.emplace_back();
}

void RepeatedKeys::endObject() {
    open_.pop_back();
}

bool RepeatedKeys::add(const std::string& key) {
    Object& object = open_.back();
    object.last = key;
    return object.keys.insert(key).second;
}

std::size_t RepeatedKeys::count() const {
    return open_.empty() ? 0 : open_.back().keys.size();
}

std::vector<std::string> RepeatedKeys::path() const {
    std::vector<std::string> keys;
    for (const Object& object : open_)
        keys.push_back(object.last);
    return keys;
}

}  // namespace kelp::util
