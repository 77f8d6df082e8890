#include <ace/DLL_Manager.h>
#include <ace/Init_ACE.h>
#include <kelp/bundlemgr/bundle_mgr.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/util/mutex.h>
#include <kelp/util/stopping.h>
#include <kelp/util/trace_log.h>

#include <set>
#include <utility>

#include "bundle.h"

namespace NS_BUNDLEMGR1 {

using kelp::util::LockRank;
using kelp::util::Mutex;
using kelp::util::MutexLock;

struct BundleMgr::State {
    std::recursive_mutex global;
    /// One Start or Stop at a time. Held while bundles are called.
    Mutex control{LockRank::Bundles, "BundleMgr::control"};
    mutable Mutex mutex{LockRank::Service, "BundleMgr::mutex"};
    std::vector<std::unique_ptr<Bundle>> started KELP_GUARDED_BY(mutex);  ///< in start order
    std::set<std::string> kept KELP_GUARDED_BY(mutex);

    void stopAll() KELP_REQUIRES(control) {
        while (const std::unique_ptr<Bundle> last = takeLast()) {
            trace("stop bundle " + last->service());
            stopOne(*last);
        }
    }

    void stopOne(Bundle& bundle) KELP_REQUIRES(control) {
        bundle.stop();
        // threads that are still running may execute code of any bundle
        if (!takeKept(bundle.service()) && !kelp::util::isAnythingLeftRunning())
            return;
        trace("bundle " + bundle.service() + " stays loaded");
        bundle.keepLoaded();
    }

    static void trace(const std::string& text) { kelp::util::traceFrom("bundlemgr", text); }

  private:
    bool takeKept(const std::string& service) {
        const MutexLock lock(mutex);
        return kept.erase(service) > 0;
    }

    std::unique_ptr<Bundle> takeLast() {
        const MutexLock lock(mutex);
        if (started.empty())
            return nullptr;
        std::unique_ptr<Bundle> last = std::move(started.back());
        started.pop_back();
        return last;
    }
};

BundleMgr::BundleMgr() : state_(std::make_unique<State>()) {
    ACE::init();
    // A library's own unload policy is a symbol that is also looked up in the libraries that it
    // links to. ACE defines the symbol too: never unload. With this policy ACE does not ask, and a
    // bundle's static objects are constructed anew when it is loaded again.
    ACE_DLL_Manager::instance()->unload_policy(ACE_DLL_UNLOAD_POLICY_PER_PROCESS);
}

BundleMgr::~BundleMgr() = default;

BundleMgr* BundleMgr::Instance() {
    // Never destroyed: at exit, bundles that nobody stopped must not be unloaded while their
    // threads run.
    static BundleMgr* const instance = new BundleMgr;
    return instance;
}

std::recursive_mutex& BundleMgr::GlobalMutex() {
    return state_->global;
}

bool BundleMgr::Start(const std::filesystem::path& directory,
                      const std::vector<std::string>& services, std::string& whyNot) {
    const MutexLock control(state_->control);
    {
        const MutexLock lock(state_->mutex);
        if (!state_->started.empty()) {
            whyNot = "bundles are already running";
            return false;
        }
    }
    for (const std::string& service : services) {
        auto bundle = std::make_unique<Bundle>(directory, service);
        State::trace("start bundle " + service);
        if (!bundle->start(whyNot)) {
            State::trace(whyNot);
            state_->stopOne(*bundle);
            bundle.reset();
            state_->stopAll();
            return false;
        }
        const MutexLock lock(state_->mutex);
        state_->started.push_back(std::move(bundle));
    }
    return true;
}

void BundleMgr::Stop() {
    const MutexLock control(state_->control);
    state_->stopAll();
}

void BundleMgr::KeepLoaded(const std::string& service) {
    const MutexLock lock(state_->mutex);
    state_->kept.insert(service);
}

ServiceObjectBase* BundleMgr::Find(const std::string& service) const {
    const MutexLock lock(state_->mutex);
    for (const std::unique_ptr<Bundle>& bundle : state_->started) {
        if (bundle->service() == service)
            return bundle->object();
    }
    return nullptr;
}

}  // namespace NS_BUNDLEMGR1
