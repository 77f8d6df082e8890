#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/lazy_instance.h>
#include <kelp/util/mutex.h>

namespace NS_CORBA {

namespace {

using kelp::util::LockRank;
using kelp::util::MutexLock;

constinit LazyInstance<EventMgr> theInstance;

}  // namespace

struct EventMgr::State {
    kelp::util::Mutex mutex{LockRank::Leaf, "EventMgr::State::mutex"};
    CosNotifyChannelAdmin::EventChannel_var channel KELP_GUARDED_BY(mutex);
};

EventMgr::EventMgr() : state_(std::make_unique<State>()) {}
EventMgr::~EventMgr() = default;

EventMgr* EventMgr::Instance() {
    return theInstance.get([] { return new EventMgr; });
}

void EventMgr::Destroy() {
    theInstance.destroy([](EventMgr* instance) { delete instance; });
}

CosNotifyChannelAdmin::EventChannel_ptr EventMgr::GetEventChannel() const {
    const MutexLock guard(state_->mutex);
    return CosNotifyChannelAdmin::EventChannel::_duplicate(state_->channel.in());
}

void EventMgr::SetEventChannel(CosNotifyChannelAdmin::EventChannel_ptr channel) {
    CosNotifyChannelAdmin::EventChannel_var before;  // released without the lock
    const MutexLock guard(state_->mutex);
    before = state_->channel._retn();
    state_->channel = CosNotifyChannelAdmin::EventChannel::_duplicate(channel);
}

}  // namespace NS_CORBA
