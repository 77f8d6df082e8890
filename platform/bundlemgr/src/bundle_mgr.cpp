#include <kelp/bundlemgr/bundle_mgr.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/util/trace_log.h>

#include "bundle.h"

#include <ace/Init_ACE.h>

#include <utility>

namespace NS_BUNDLEMGR1 {

struct BundleMgr::State {
    std::recursive_mutex global;
    std::mutex control;  ///< one Start or Stop at a time; taken before `mutex`, held while bundles are called
    mutable std::mutex mutex;
    std::vector<std::unique_ptr<Bundle>> started;  ///< guarded by mutex; in order of the start

    void stopAll() {
        while (const std::unique_ptr<Bundle> last = takeLast()) {
            trace("stop bundle " + last->service());
            last->stop();
        }
    }

    static void trace(const std::string& text) { kelp::util::traceFrom("bundlemgr", text); }

  private:
    std::unique_ptr<Bundle> takeLast() {
        const std::lock_guard guard(mutex);
        if (started.empty())
            return nullptr;
        std::unique_ptr<Bundle> last = std::move(started.back());
        started.pop_back();
        return last;
    }
};

BundleMgr::BundleMgr() : state_(std::make_unique<State>()) {
    ACE::init();
}

BundleMgr::~BundleMgr() = default;

BundleMgr* BundleMgr::Instance() {
    // Never destroyed: bundles that nobody stopped must not be unloaded under their own threads at exit.
    static BundleMgr* const instance = new BundleMgr;
    return instance;
}

std::recursive_mutex& BundleMgr::GlobalMutex() {
    return state_->global;
}

bool BundleMgr::Start(const std::filesystem::path& directory, const std::vector<std::string>& services,
                      std::string& whyNot) {
    const std::lock_guard control(state_->control);
    {
        const std::lock_guard guard(state_->mutex);
        if (!state_->started.empty()) {
            whyNot = "bundles are running already";
            return false;
        }
    }
    for (const std::string& service : services) {
        auto bundle = std::make_unique<Bundle>(directory, service);
        State::trace("start bundle " + service);
        if (!bundle->start(whyNot)) {
            State::trace(whyNot);
            bundle.reset();
            state_->stopAll();
            return false;
        }
        const std::lock_guard guard(state_->mutex);
        state_->started.push_back(std::move(bundle));
    }
    return true;
}

void BundleMgr::Stop() {
    const std::lock_guard control(state_->control);
    state_->stopAll();
}

ServiceObjectBase* BundleMgr::Find(const std::string& service) const {
    const std::lock_guard guard(state_->mutex);
    for (const std::unique_ptr<Bundle>& bundle : state_->started) {
        if (bundle->service() == service)
            return bundle->object();
    }
    return nullptr;
}

}  // namespace NS_BUNDLEMGR1
