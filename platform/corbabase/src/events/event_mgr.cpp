#include <kelp/corbabase/event_mgr.h>

#include <mutex>

#include "orb/singleton.h"

namespace NS_CORBA {

namespace {
std::atomic<EventMgr*> theInstance{nullptr};
}

struct EventMgr::State {
    mutable std::mutex mutex;
    CosNotifyChannelAdmin::EventChannel_var channel;  // guarded by mutex
};

EventMgr::EventMgr() : state_(std::make_unique<State>()) {}
EventMgr::~EventMgr() = default;

EventMgr* EventMgr::Instance() {
    return lazyInstance(theInstance, [] { return new EventMgr; });
}

void EventMgr::Destroy() {
    dropInstance(theInstance, [](EventMgr* instance) { delete instance; });
}

CosNotifyChannelAdmin::EventChannel_ptr EventMgr::GetEventChannel() const {
    const std::lock_guard guard(state_->mutex);
    return CosNotifyChannelAdmin::EventChannel::_duplicate(state_->channel.in());
}

void EventMgr::SetEventChannel(CosNotifyChannelAdmin::EventChannel_ptr channel) {
    const std::lock_guard guard(state_->mutex);
    state_->channel = CosNotifyChannelAdmin::EventChannel::_duplicate(channel);
}

}  // namespace NS_CORBA
