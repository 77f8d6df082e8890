#include <kelp/bundlemgr/light_event.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace NS_BUNDLEMGR1 {

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
    std::mutex control;  ///< one start or stop of the thread at a time; locked before `mutex`
    std::mutex mutex;    ///< guards the members below; not held while handlers run
    std::condition_variable changed;
    std::vector<Registration> registrations;
    std::deque<Event> queue;
    Registration running;  ///< the handler that is being called; null if there is none
    std::uint64_t callsEnded = 0;
    bool isOpen = false;       ///< events are accepted
    std::thread::id threadId;  ///< of the delivering thread; default-constructed if there is none
    std::thread thread;        ///< guarded by control

    void start();
    void stop();
    void endDelivery();
    bool isOwnThread();
    void deliver();
    void deliverOne(std::unique_lock<std::mutex>& lock, const Event& event);
    bool isRegistered(const Registration& registration) const {
        return std::find(registrations.begin(), registrations.end(), registration) !=
               registrations.end();
    }
    void raise(Event event);
};

void LightEventMgr::State::start() {
    {
        const std::lock_guard guard(mutex);
        if (isOpen)
            return;
    }
    if (thread.joinable())
        thread.join();
    const std::lock_guard guard(mutex);
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
    const std::lock_guard guard(mutex);
    isOpen = false;
    changed.notify_all();
}

bool LightEventMgr::State::isOwnThread() {
    const std::lock_guard guard(mutex);
    return threadId == std::this_thread::get_id();
}

void LightEventMgr::State::deliver() {
    std::unique_lock lock(mutex);
    while (true) {
        changed.wait(lock, [this] { return !isOpen || !queue.empty(); });
        if (queue.empty())
            break;
        const Event event = std::move(queue.front());
        queue.pop_front();
        deliverOne(lock, event);
    }
    threadId = {};
}

void LightEventMgr::State::deliverOne(std::unique_lock<std::mutex>& lock, const Event& event) {
    const std::vector<Registration> copied = registrations;
    for (const Registration& registration : copied) {
        // it may have been deregistered while another handler ran
        if (registration.eventId != event.id || !isRegistered(registration))
            continue;
        running = registration;
        lock.unlock();
        callHandler(registration, event);
        lock.lock();
        running = {};
        ++callsEnded;
        changed.notify_all();
    }
}

void LightEventMgr::State::raise(Event event) {
    const std::lock_guard guard(mutex);
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
        const std::lock_guard guard(state_->mutex);
        const Registration registration{eventId, handler};
        if (!state_->isRegistered(registration))
            state_->registrations.push_back(registration);
    }
    // on the delivering thread nothing has to be started, and a handler must not wait for a Stop()
    // that waits for it
    if (state_->isOwnThread())
        return;
    const std::lock_guard control(state_->control);
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
    std::unique_lock lock(state_->mutex);
    std::erase(state_->registrations, registration);
    if (state_->threadId == std::this_thread::get_id())
        return;
    const std::uint64_t callsEnded = state_->callsEnded;
    state_->changed.wait(lock, [&] {
        return state_->running.handler != handler || state_->callsEnded != callsEnded;
    });
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
    const std::lock_guard control(state_->control);
    state_->stop();
}

}  // namespace NS_BUNDLEMGR1
