#include "operator/drain.h"

#include <kelp/agent/session_mgr.h>
#include <kelp/util/threads.h>

#include <chrono>
#include <vector>

#include "operator/session_ending.h"
#include "session/ems_session_impl.h"
#include "session/log_in_gate.h"
#include "session/ordered_run.h"
#include "util/containment.h"
#include "util/servant_ref.h"

namespace NS_KELPCORBA {
namespace {

using kelp::util::MutexLock;

constexpr const char* kSubject = "drain";
/// Sessions that are ended at a time. Each may take a second when its NMS hangs.
constexpr std::size_t kEndsAtOnce = 32;
/// Pause before the next look for a session whose log-in was in progress.
constexpr std::chrono::milliseconds kPause{200};

}  // namespace

Drain::~Drain() {
    end();
}

bool Drain::begin(const std::string& reason, const std::string& by) {
    const MutexLock order(control_);
    if (!LogInGate::instance().close({reason, by, utcNow()}))
        return false;
    ended_ = 0;
    {
        const MutexLock lock(mutex_);
        isOver_ = false;
    }
    try {
        worker_ = kelp::util::startThread("drain", [this, by] { run(by); });
    } catch (...) {
        LogInGate::instance().open();
        throw;
    }
    return true;
}

bool Drain::end() {
    const MutexLock order(control_);
    {
        const MutexLock lock(mutex_);
        isOver_ = true;
        changed_.notify_all();
    }
    if (worker_.joinable())
        worker_.join();
    return LogInGate::instance().open();
}

void Drain::run(const std::string& by) {
    for (;;) {
        contained(kSubject, "[Drain::run]", [&] { endAll(by); });
        const MutexLock lock(mutex_);
        if (!isOver_)
            changed_.wait_until(mutex_, std::chrono::steady_clock::now() + kPause);
        if (isOver_)
            return;
    }
}

void Drain::endAll(const std::string& by) {
    SessionMgr* const sessions = SessionMgr::Existing();
    if (sessions == nullptr)
        return;
    const std::vector<ServantRef<EmsSession_IImpl>> all = sessions->PinSessions();
    if (all.empty())
        return;
    const auto isWanted = [this] {
        const MutexLock lock(mutex_);
        return !isOver_;
    };
    OrderedSteps steps;
    steps.begin = [](std::size_t) {};
    steps.run = [&](std::size_t i) {
        contained(kSubject, "[Drain::endAll]", [&] {
            if (isWanted() && endForOperator(all[i], by))
                ++ended_;
        });
    };
    steps.conclude = [](std::size_t) {};
    runInOrder(all.size(), kEndsAtOnce, steps);
}

}  // namespace NS_KELPCORBA
