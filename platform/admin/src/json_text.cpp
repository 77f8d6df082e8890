#include <kelp/admin/json_text.h>
#include <kelp/util/repeated_keys.h>
#include <kelp/util/trace_log.h>

namespace kelp::admin {

namespace {

/// Maximum nesting: JSON is read, written and copied by recursion, which needs stack.
constexpr int kDepthMax = 32;
/// Maximum number of members of an object, because a member is found by a linear search.
constexpr std::size_t kMembersMax = 1000;

/// Checks every array and object while a text is parsed, and makes the parser skip the rest after
/// the first mistake. The parser itself accepts any depth, and keeps the last of two equal keys.
class Watch {
  public:
    bool operator()(int depth, Json::parse_event_t event, const Json& parsed) {
        if (!wrong_.empty())
            return false;
        if (depth > kDepthMax)
            wrong_ = "the request is nested deeper than " + std::to_string(kDepthMax) + " times";
        else if (!keys_.see(event, parsed))
            wrong_ =
                "the key \"" + util::escaped(parsed.get<std::string>(), 100) + "\" appears twice";
        else if (keys_.count() > kMembersMax)
            wrong_ = "an object has more than " + std::to_string(kMembersMax) + " keys";
        return wrong_.empty();
    }
    /// Description of the mistake; empty if there is none.
    const std::string& wrong() const { return wrong_; }

  private:
    util::RepeatedKeys keys_;
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
        throw RequestError("the request is not JSON: " + util::escaped(problem.what(), 400));
    }
    if (!watch.wrong().empty())
        throw RequestError(watch.wrong());
    return json;
}

}  // namespace kelp::admin
