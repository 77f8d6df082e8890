#include "files/json_text.h"

#include <kelp/util/trace_log.h>

#include <unordered_set>
#include <utility>

namespace kelp::inventory {

namespace {

/// Finds repeated keys while the parser reads.
class RepeatedKeys {
  public:
    explicit RepeatedKeys(std::vector<std::string>& repeated) : repeated_(repeated) {}

    void see(Json::parse_event_t event, const Json& parsed) {
        if (event == Json::parse_event_t::object_start)
            objects_.emplace_back();
        else if (event == Json::parse_event_t::object_end)
            objects_.pop_back();
        else if (event == Json::parse_event_t::key)
            seeKey(parsed.get_ref<const std::string&>());
    }

  private:
    struct Object {
        std::unordered_set<std::string> keys;
        std::string last;
    };

    void seeKey(const std::string& key) {
        Object& object = objects_.back();
        object.last = key;
        if (object.keys.insert(key).second || !repeated_.empty())
            return;
        for (const Object& each : objects_)
            repeated_.push_back(each.last);
    }

    std::vector<std::string>& repeated_;
    std::vector<Object> objects_;  ///< from the outermost object to the one that is being read
};

}  // namespace

JsonText parsedJson(std::string_view text) {
    JsonText result;
    RepeatedKeys keys(result.repeated);
    result.value = Json::parse(text, [&keys](int, Json::parse_event_t event, Json& parsed) {
        keys.see(event, parsed);
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
