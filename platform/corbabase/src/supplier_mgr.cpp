#include "singleton.h"

#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/corbabase/trace.h>

#include <atomic>

namespace NS_CORBA {

namespace {
std::atomic<SuppilerMgr*> theInstance{nullptr};
constexpr int kConfiguredMode = 0;
}  // namespace

struct SuppilerMgr::State {
    std::atomic<CallBackProcessBase*> callBack{nullptr};
};

SuppilerMgr::SuppilerMgr() : state_(std::make_unique<State>()) {}
SuppilerMgr::~SuppilerMgr() = default;

SuppilerMgr* SuppilerMgr::Instance() {
    return lazyInstance(theInstance, [] { return new SuppilerMgr; });
}

void SuppilerMgr::Destroy() {
    dropInstance(theInstance, [](SuppilerMgr* instance) { delete instance; });
}

void SuppilerMgr::SetCallBack(CallBackProcessBase* callBack) {
    state_->callBack = callBack;
}

CallBackProcessBase* SuppilerMgr::GetCallBack() const {
    return state_->callBack;
}

int SuppilerMgr::Start(int mode) {
    if (mode == kConfiguredMode)
        return 0;
    GetTss()->Set("suppilermgr", "unknown", __LINE__);
    TaTrace("[SuppilerMgr::Start] Unknown delivery mode %d!", mode);
    return -1;
}

void SuppilerMgr::ExitThread() {}

void SuppilerMgr::check_channel_valid() {}

}  // namespace NS_CORBA
