#include <kelp/admin/parts.h>

#include <utility>

namespace kelp::admin {

namespace {

constexpr const char* kAskForPart = "ASK";

}  // namespace

Parts& Parts::instance() {
    // Bundles that nobody stopped may leave after its destruction: a registration shares the state.
    static Parts instance;
    return instance;
}

Registration Parts::enter(const std::string& name, PartSource source) {
    return sources_.enter(kAskForPart, "/" + name,
                          [source = std::move(source)](const Json&) { return source(); });
}

Json Parts::current() {
    Json all = Json::object();
    for (const KnownRequest& each : sources_.known()) {
        Answer answer = sources_.answer(kAskForPart, each.path, {});
        if (answer.status != RequestError::kNotFound)  // one that has just left is not found
            all[each.path.substr(1)] = std::move(answer.body);
    }
    return all;
}

}  // namespace kelp::admin
