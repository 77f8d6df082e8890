#include <kelp/alarms/alarm_service.h>
#include <kelp/util/mutex.h>

#include <utility>

namespace kelp::alarms {

namespace {

/// The service of this process.
class Shared {
  public:
    std::shared_ptr<AlarmService> get() const KELP_EXCLUDES(mutex_) {
        const util::MutexLock lock(mutex_);
        return service_;
    }
    void set(std::shared_ptr<AlarmService> service) KELP_EXCLUDES(mutex_) {
        const util::MutexLock lock(mutex_);
        std::swap(service_, service);
        // the one before is released by the caller's copy, after the lock
    }

  private:
    mutable util::Mutex mutex_{util::LockRank::Leaf, "SharedAlarmService::mutex_"};
    std::shared_ptr<AlarmService> service_ KELP_GUARDED_BY(mutex_);
};

Shared& shared() {
    static Shared instance;
    return instance;
}

}  // namespace

std::shared_ptr<AlarmService> sharedService() {
    return shared().get();
}

void shareService(std::shared_ptr<AlarmService> service) {
    shared().set(std::move(service));
}

}  // namespace kelp::alarms
