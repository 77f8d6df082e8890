#include "json_text.h"

#include <kelp/util/trace_log.h>

#include <set>
#include <vector>

namespace kelp::admin {

namespace {

/// Sees every object of a text as it is read; the parser itself takes the last one of two equal keys.
class KeyWatch {
  public:
    void operator()(Json::parse_event_t event, const Json& parsed) {
        if (event == Json::parse_event_t::object_start)
            open_.emplace_back();
        else if (event == Json::parse_event_t::object_end)
            open_.pop_back();
        else if (event == Json::parse_event_t::key)
            keyCame(parsed.get<std::string>());
    }
    /// Empty when every key stood there once.
    const std::string& twice() const { return twice_; }

  private:
    void keyCame(const std::string& key) {
        if (!open_.back().insert(key).second && twice_.empty())
            twice_ = key.empty() ? "(empty)" : key;
    }

    std::vector<std::set<std::string>> open_;
    std::string twice_;
};

}  // namespace

Json parseJson(const std::string& text) {
    KeyWatch keys;
    Json json;
    try {
        json = Json::parse(text, [&keys](int, Json::parse_event_t event, Json& parsed) {
            keys(event, parsed);
            return true;
        });
    } catch (const Json::parse_error& problem) {
        throw RequestError("the request is no JSON: " + util::escaped(problem.what(), 400));
    }
    if (!keys.twice().empty())
        throw RequestError("the key \"" + util::escaped(keys.twice(), 100) + "\" stands there twice");
    return json;
}

}  // namespace kelp::admin
