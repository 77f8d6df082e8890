#include "screen/ack_worker.h"

#include <kelp/nms/error.h>

#include <utility>

namespace kelp::nms {

namespace {

/// Somebody who holds the key down must not fill the memory.
constexpr std::size_t kWaitingMax = 1000;

}  // namespace

AckWorker::AckWorker(Say say) : say_(std::move(say)), thread_([this] { run(); }) {}

AckWorker::~AckWorker() {
    {
        const util::MutexLock lock(mutex_);
        isOver_ = true;
        changed_.notify_all();
    }
    thread_.join();
}

void AckWorker::managerIs(emsMgr::EMSMgr_I_ptr manager) {
    const util::MutexLock lock(mutex_);
    manager_ = emsMgr::EMSMgr_I::_duplicate(manager);
}

void AckWorker::acknowledge(const alarms::AlarmId& alarm, bool isAcknowledged) {
    {
        const util::MutexLock lock(mutex_);
        if (waiting_.size() < kWaitingMax) {
            waiting_.push_back({alarm, isAcknowledged});
            changed_.notify_all();
            return;
        }
    }
    say_("too many alarms wait for their acknowledgement", true);
}

void AckWorker::run() {
    for (;;) {
        Work work;
        emsMgr::EMSMgr_I_var manager;
        {
            const util::MutexLock lock(mutex_);
            while (!isOver_ && waiting_.empty())
                changed_.wait(mutex_);
            if (isOver_)
                return;
            work = std::move(waiting_.front());
            waiting_.pop_front();
            manager = manager_;
        }
        perform(manager.in(), work);
    }
}

void AckWorker::perform(emsMgr::EMSMgr_I_ptr manager, const Work& work) const {
    if (CORBA::is_nil(manager))
        return say_("not connected: nothing was acknowledged", true);
    const std::string object =
        work.alarm.objectName.empty() ? "" : work.alarm.objectName.back().second;
    try {
        Acknowledgement what;
        what.isAcknowledged = work.isAcknowledged;
        if (!nms::acknowledge(manager, {work.alarm}, what).empty())
            return say_("the EMS could not do this, the alarm is not active: " + object, true);
        say_((work.isAcknowledged ? "acknowledged: " : "acknowledgement taken back: ") + object,
             false);
    } catch (const NmsError& problem) {
        say_(problem.what(), true);
    }
}

}  // namespace kelp::nms
