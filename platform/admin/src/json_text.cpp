#include "json_text.h"

#include <kelp/util/trace_log.h>

#include <set>
#include <vector>

namespace kelp::admin {

namespace {

/// What is read, written and copied by recursion must not be deeper.
constexpr int kDepthMax = 32;
/// Members of one object are looked for one after the other.
constexpr std::size_t kMembersMax = 1000;

/// Sees every array and object of a text as it is read, and stops keeping what is read at the first
/// mistake. The parser itself takes any depth, and the last one of two equal keys.
class Watch {
  public:
    bool operator()(int depth, Json::parse_event_t event, const Json& parsed) {
        if (!wrong_.empty())
            return false;
        if (depth > kDepthMax)
            wrong_ = "the request is nested deeper than " + std::to_string(kDepthMax) + " times";
        else if (event == Json::parse_event_t::object_start)
            open_.emplace_back();
        else if (event == Json::parse_event_t::object_end)
            open_.pop_back();
        else if (event == Json::parse_event_t::key)
            keyCame(parsed.get<std::string>());
        return wrong_.empty();
    }
    /// What is wrong; empty for nothing.
    const std::string& wrong() const { return wrong_; }

  private:
    void keyCame(const std::string& key) {
        if (!open_.back().insert(key).second)
            wrong_ = "the key \"" + util::escaped(key, 100) + "\" stands there twice";
        else if (open_.back().size() > kMembersMax)
            wrong_ = "an object has more than " + std::to_string(kMembersMax) + " keys";
    }

    std::vector<std::set<std::string>> open_;
    std::string wrong_;
};

}  // namespace

Json parseJson(const std::string& text) {
    Watch watch;
    Json json;
    try {
        json = Json::parse(text, [&watch](int depth, Json::parse_event_t event, Json& parsed) {
            return watch(depth, event, parsed);
        });
    } catch (const Json::exception& problem) {
        throw RequestError("the request is no JSON: " + util::escaped(problem.what(), 400));
    }
    if (!watch.wrong().empty())
        throw RequestError(watch.wrong());
    return json;
}

}  // namespace kelp::admin
