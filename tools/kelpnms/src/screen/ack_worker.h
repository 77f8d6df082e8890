#pragma once

#include <kelp/alarms/alarm_id.h>
#include <kelp/util/mutex.h>
#include <mtnm/emsMgr.h>

#include <deque>
#include <functional>
#include <string>
#include <thread>

#include "alarms/acknowledgement.h"

namespace kelp::nms {

/// Acknowledges alarms on a separate thread, so that the screen does not wait for the EMS. The
/// operations may be called from any thread.
class AckWorker {
  public:
    /// Tells the operator what has become of a wish.
    using Say = std::function<void(const std::string& sentence, bool isAlert)>;
    explicit AckWorker(Say say);
    /// Waits for the call in progress. Forgets the others.
    ~AckWorker();
    AckWorker(const AckWorker&) = delete;
    AckWorker& operator=(const AckWorker&) = delete;

    /// The manager of the present session. Copied.
    void managerIs(emsMgr::EMSMgr_I_ptr manager);
    void acknowledge(const alarms::AlarmId& alarm, bool isAcknowledged);

  private:
    struct Work {
        alarms::AlarmId alarm;
        bool isAcknowledged = true;
    };
    void run();
    void perform(emsMgr::EMSMgr_I_ptr manager, const Work& work) const;

    const Say say_;
    util::Mutex mutex_{util::LockRank::Leaf, "AckWorker::mutex_"};
    util::ConditionVariable changed_;
    emsMgr::EMSMgr_I_var manager_ KELP_GUARDED_BY(mutex_);
    std::deque<Work> waiting_ KELP_GUARDED_BY(mutex_);
    bool isOver_ KELP_GUARDED_BY(mutex_) = false;
    std::thread thread_;
};

}  // namespace kelp::nms
