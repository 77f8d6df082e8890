#include <kelp/admin/json_text.h>
#include <kelp/admin/registry.h>
#include <kelp/util/mutex.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <map>
#include <utility>

namespace kelp::admin {

namespace {

constexpr std::size_t kShownBytesMax = 100;
constexpr int kMethodNotAllowed = 405;
constexpr int kInternalError = 500;
constexpr const char* kGet = "GET";

Answer failure(int status, const std::string& why) {
    return {status, Json{{"error", why}}};
}

/// The parameters of a query, if each is known and none repeats.
std::map<std::string, std::string> checked(const Query& query, const std::set<std::string>& known) {
    std::map<std::string, std::string> parameters;
    for (const auto& [name, value] : query) {
        const std::string shown = "the parameter \"" + util::escaped(name, kShownBytesMax) + "\"";
        if (!known.contains(name))
            throw RequestError(shown + " is unknown");
        if (!parameters.emplace(name, value).second)
            throw RequestError(shown + " appears twice");
    }
    return parameters;
}

/// The path that stands for all with another last component.
std::string patternOf(const std::string& path) {
    return path.substr(0, path.rfind('/') + 1) + "*";
}

struct Called {
    const RequestHandler& handler;
    const std::set<std::string>& parameters;
    const std::string& contentType;
    std::string item;
};

Answer answerOf(const Called& called, const std::string& what, const std::string& body,
                const Query& query) {
    try {
        return {200,
                called.handler({called.item, checked(query, called.parameters),
                                body.empty() ? Json() : parseJson(body)}),
                called.contentType};
    } catch (const RequestError& refusal) {
        Answer answer = failure(refusal.status(), refusal.what());
        if (!refusal.path().empty())
            answer.body["path"] = refusal.path();
        return answer;
    } catch (...) {
        const std::string reason = util::currentExceptionText();
        util::traceFrom("admin", what + " failed: " + reason);
        return failure(kInternalError, reason);
    }
}

}  // namespace

struct Registry::State {
    struct Entry {
        // these never change; used without the mutex
        std::set<std::string> parameters;
        RequestHandler handler;
        std::string contentType;
        int running = 0;  ///< calls in progress; the entry is not destroyed before they end
    };
    using Key = std::pair<std::string, std::string>;  ///< path, method

    util::Mutex mutex{util::LockRank::Service, "admin::Registry::mutex"};
    util::ConditionVariable callEnded;
    std::map<Key, Entry> entries KELP_GUARDED_BY(mutex);

    bool hasPath(const std::string& path) const KELP_REQUIRES(mutex) {
        const std::string pattern = patternOf(path);
        return std::any_of(entries.begin(), entries.end(), [&](const auto& entry) {
            return entry.first.first == path || entry.first.first == pattern;
        });
    }
    /// The entry of the path itself, or of its pattern; the end if there is none.
    auto find(const std::string& path, const std::string& method) KELP_REQUIRES(mutex) {
        const auto found = entries.find({path, method});
        return found == entries.end() ? entries.find({patternOf(path), method}) : found;
    }
    void endCall(Entry& entry) KELP_EXCLUDES(mutex) {
        const util::MutexLock lock(mutex);
        --entry.running;
        callEnded.notify_all();
    }
};

RequestError::RequestError(const std::string& why, int status, std::string path)
    : std::runtime_error(why), status_(status), path_(std::move(path)) {}
RequestError::~RequestError() = default;

Registry::Registry() : state_(std::make_shared<State>()) {}
Registry::~Registry() = default;

Registry& Registry::instance() {
    // Bundles that nobody stopped may leave after its destruction: a registration shares the state.
    static Registry instance;
    return instance;
}

Registration Registry::enter(const std::string& method, const std::string& path, Handler handler) {
    return enter(method, path, {}, [answer = std::move(handler)](const Request& request) {
        return answer(request.body);
    });
}

Registration Registry::enter(const std::string& method, const std::string& path,
                             std::set<std::string> parameters, RequestHandler handler) {
    const util::MutexLock lock(state_->mutex);
    if (!state_->entries
             .try_emplace({path, method},
                          State::Entry{std::move(parameters), std::move(handler), {}, 0})
             .second)
        throw std::invalid_argument(method + " " + path + " is already answered by another bundle");
    return Registration(state_, method, path);
}

Registration Registry::enterText(const std::string& path, std::string contentType,
                                 TextHandler handler) {
    const util::MutexLock lock(state_->mutex);
    RequestHandler answer = [text = std::move(handler)](const Request&) { return Json(text()); };
    if (!state_->entries
             .try_emplace({path, kGet},
                          State::Entry{{}, std::move(answer), std::move(contentType), 0})
             .second)
        throw std::invalid_argument(path + " is already answered by another bundle");
    return Registration(state_, kGet, path);
}

Answer Registry::answer(const std::string& method, const std::string& path, const std::string& body,
                        const Query& query) {
    const std::string what = method + " " + util::escaped(path, 200);
    util::MutexLock lock(state_->mutex);
    const auto found = state_->find(path, method);
    if (found == state_->entries.end())
        return state_->hasPath(path)
                   ? failure(kMethodNotAllowed, what + " is not possible")
                   : failure(RequestError::kNotFound, what + " is not answered by any bundle");
    const bool isPattern = found->first.first.ends_with("/*");
    State::Entry& entry = found->second;
    ++entry.running;
    lock.unlock();
    const std::string item = isPattern ? path.substr(path.rfind('/') + 1) : "";
    Answer answer =
        answerOf({entry.handler, entry.parameters, entry.contentType, item}, what, body, query);
    state_->endCall(entry);
    return answer;
}

std::vector<KnownRequest> Registry::known() const {
    const util::MutexLock lock(state_->mutex);
    std::vector<KnownRequest> all;
    for (const auto& [key, entry] : state_->entries)
        all.push_back({key.second, key.first, entry.parameters});
    return all;
}

Registration::Registration(std::shared_ptr<Registry::State> registry, std::string method,
                           std::string path)
    : registry_(std::move(registry)), method_(std::move(method)), path_(std::move(path)) {}

Registration& Registration::operator=(Registration&& other) noexcept {
    leave();
    registry_ = std::move(other.registry_);
    method_ = std::move(other.method_);
    path_ = std::move(other.path_);
    return *this;
}

Registration::~Registration() {
    leave();
}

void Registration::leave() noexcept {
    const std::shared_ptr<Registry::State> registry = std::move(registry_);
    if (!registry)
        return;
    util::MutexLock lock(registry->mutex);
    const auto node = registry->entries.extract({path_, method_});
    while (node.mapped().running > 0)
        registry->callEnded.wait(registry->mutex);
    lock.unlock();  // the handler is destroyed with the node, without the lock
}

}  // namespace kelp::admin
