#include <kelp/admin/registry.h>
#include <kelp/util/mutex.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <map>
#include <utility>

#include "json_text.h"

namespace kelp::admin {

namespace {

constexpr int kNotFound = 404;
constexpr int kMethodNotAllowed = 405;
constexpr int kInternalError = 500;

Answer failure(int status, const std::string& why) {
    return {status, Json{{"error", why}}};
}

Answer answerOf(const Handler& handler, const std::string& what, const std::string& body) {
    try {
        return {200, handler(body.empty() ? Json() : parseJson(body))};
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
        Handler handler;  ///< never changes; called without the mutex
        int running = 0;  ///< calls in progress; the entry is not destroyed before they end
    };
    using Key = std::pair<std::string, std::string>;  ///< path, method

    util::Mutex mutex{util::LockRank::Service, "admin::Registry::mutex"};
    util::ConditionVariable callEnded;
    std::map<Key, Entry> entries KELP_GUARDED_BY(mutex);

    bool hasPath(const std::string& path) const KELP_REQUIRES(mutex) {
        return std::any_of(entries.begin(), entries.end(),
                           [&](const auto& entry) { return entry.first.first == path; });
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
    // Never destroyed: bundles that nobody stopped may leave during static destruction.
    static Registry* const instance = new Registry;
    return *instance;
}

Registration Registry::enter(const std::string& method, const std::string& path, Handler handler) {
    const util::MutexLock lock(state_->mutex);
    if (!state_->entries.try_emplace({path, method}, State::Entry{std::move(handler), 0}).second)
        throw std::invalid_argument(method + " " + path + " is already answered by another bundle");
    return Registration(state_, method, path);
}

Answer Registry::answer(const std::string& method, const std::string& path,
                        const std::string& body) {
    const std::string what = method + " " + util::escaped(path, 200);
    util::MutexLock lock(state_->mutex);
    const auto found = state_->entries.find({path, method});
    if (found == state_->entries.end())
        return state_->hasPath(path) ? failure(kMethodNotAllowed, what + " is not possible")
                                     : failure(kNotFound, what + " is not answered by any bundle");
    State::Entry& entry = found->second;
    ++entry.running;
    lock.unlock();
    Answer answer = answerOf(entry.handler, what, body);
    state_->endCall(entry);
    return answer;
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
