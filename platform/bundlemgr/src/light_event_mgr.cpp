#include <kelp/bundlemgr/light_event.h>
#include <kelp/util/mutex.h>
#include <kelp/util/thread_work.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace NS_BUNDLEMGR1 {

using kelp::util::ConditionVariable;
using kelp::util::LockRank;
using kelp::util::Mutex;
using kelp::util::MutexLock;
using kelp::util::MutexUnlock;

namespace {

struct Event {
    int id = 0;
    std::optional<LightEventData> data;
};

struct Registration {
    int eventId = 0;
    LightEventHandler* handler = nullptr;
    friend bool operator==(const Registration&, const Registration&) = default;
};

void callHandler(const Registration& registration, const Event& event) {
    try {
        registration.handler->DoWork(event.id, event.data ? &*event.data : nullptr);
    } catch (...) {
        kelp::util::traceFrom("lighteventmgr",
                              "a handler of light event " + std::to_string(event.id) +
                                  " threw: " + kelp::util::currentExceptionText(),
                              kelp::util::TraceKind::Exception);
    }
}

}  // namespace

std::string GetValByKey(const std::list<NameValueStru>& values, const std::string& key) {
    const auto found = std::find_if(values.begin(), values.end(),
                                    [&](const NameValueStru& value) { return value.name == key; });
    return found == values.end() ? std::string() : found->value;
}

LightEventHandler::~LightEventHandler() = default;

struct LightEventMgr::State {
    /// One start or stop of the thread at a time.
    Mutex control{LockRank::ServiceControl, "LightEventMgr::control"};
    std::thread thread KELP_GUARDED_BY(control);

    /// Not held while handlers run.
    Mutex mutex{LockRank::Service, "LightEventMgr::mutex"};
    ConditionVariable changed;
    std::vector<Registration> registrations KELP_GUARDED_BY(mutex);
    std::deque<Event> queue KELP_GUARDED_BY(mutex);
    /// The handler that is being called; null if there is none.
    Registration running KELP_GUARDED_BY(mutex);
    std::uint64_t callsEnded KELP_GUARDED_BY(mutex) = 0;
    /// Whether events are accepted.
    bool isOpen KELP_GUARDED_BY(mutex) = false;
    /// Of the delivering thread; default-constructed if there is none.
    std::thread::id threadId KELP_GUARDED_BY(mutex);

    void start() KELP_REQUIRES(control) KELP_EXCLUDES(mutex);
    void stop() KELP_REQUIRES(control) KELP_EXCLUDES(mutex);
    void endDelivery() KELP_EXCLUDES(mutex);
    bool isOwnThread() KELP_EXCLUDES(mutex);
    void deliver() KELP_EXCLUDES(mutex);
    void deliverOne(const Event& event) KELP_REQUIRES(mutex);
    bool isRegistered(const Registration& registration) const KELP_REQUIRES(mutex) {
        return std::find(registrations.begin(), registrations.end(), registration) !=
               registrations.end();
    }
    void raise(Event event) KELP_EXCLUDES(mutex);
};

void LightEventMgr::State::start() {
    {
        const MutexLock lock(mutex);
        if (isOpen)
            return;
    }
    if (thread.joinable())
        thread.join();
    const MutexLock lock(mutex);
    thread = kelp::util::startThread("kelp-events", [this] { deliver(); });
    threadId = thread.get_id();
    isOpen = true;
}

void LightEventMgr::State::stop() {
    endDelivery();
    if (thread.joinable())
        thread.join();
}

void LightEventMgr::State::endDelivery() {
    const MutexLock lock(mutex);
    isOpen = false;
    changed.notify_all();
}

bool LightEventMgr::State::isOwnThread() {
    const MutexLock lock(mutex);
    return threadId == std::this_thread::get_id();
}

void LightEventMgr::State::deliver() {
    const MutexLock lock(mutex);
    while (true) {
        while (isOpen && queue.empty())
            changed.wait(mutex);
        if (queue.empty())
            break;
        const Event event = std::move(queue.front());
        queue.pop_front();
        deliverOne(event);
    }
    threadId = {};
}

void LightEventMgr::State::deliverOne(const Event& event) {
    const std::vector<Registration> copied = registrations;
    for (const Registration& registration : copied) {
        // it may have been deregistered while another handler ran
        if (registration.eventId != event.id || !isRegistered(registration))
            continue;
        running = registration;
        {
            const MutexUnlock unlock(mutex);
            const kelp::util::ThreadWork work("handles a light event", kelp::util::kHangsAfter);
            callHandler(registration, event);
        }
        running = {};
        ++callsEnded;
        changed.notify_all();
    }
}

void LightEventMgr::State::raise(Event event) {
    const MutexLock lock(mutex);
    const bool isWanted =
        std::any_of(registrations.begin(), registrations.end(),
                    [&](const Registration& each) { return each.eventId == event.id; });
    if (!isOpen || !isWanted)
        return;
    queue.push_back(std::move(event));
    changed.notify_all();
}

LightEventMgr::LightEventMgr() : state_(std::make_unique<State>()) {}
LightEventMgr::~LightEventMgr() = default;

LightEventMgr* LightEventMgr::Instance() {
    // Never destroyed: its thread may run until the process ends.
    static LightEventMgr* const instance = new LightEventMgr;
    return instance;
}

void LightEventMgr::RegisterHandler(int eventId, LightEventHandler* handler) {
    if (handler == nullptr)
        return;
    {
        const MutexLock lock(state_->mutex);
        const Registration registration{eventId, handler};
        if (!state_->isRegistered(registration))
            state_->registrations.push_back(registration);
    }
    // on the delivering thread nothing has to be started, and a handler must not wait for a Stop()
    // that waits for it
    if (state_->isOwnThread())
        return;
    const MutexLock control(state_->control);
    try {
        state_->start();
    } catch (const std::system_error& error) {
        kelp::util::traceFrom("lighteventmgr",
                              std::string("no thread delivers light events: ") + error.what(),
                              kelp::util::TraceKind::Exception);
    }
}

void LightEventMgr::DeregisterHandler(int eventId, LightEventHandler* handler) {
    const Registration registration{eventId, handler};
    const MutexLock lock(state_->mutex);
    std::erase(state_->registrations, registration);
    if (state_->threadId == std::this_thread::get_id())
        return;
    const std::uint64_t callsEnded = state_->callsEnded;
    while (state_->running.handler == handler && state_->callsEnded == callsEnded)
        state_->changed.wait(state_->mutex);
}

void LightEventMgr::Raise(int eventId, LightEventData data) {
    state_->raise(Event{eventId, std::move(data)});
}

void LightEventMgr::Raise(int eventId) {
    state_->raise(Event{eventId, std::nullopt});
}

void LightEventMgr::Stop() {
    if (state_->isOwnThread()) {
        state_->endDelivery();
        return;
    }
    const MutexLock control(state_->control);
    state_->stop();
}

}  // namespace NS_BUNDLEMGR1
