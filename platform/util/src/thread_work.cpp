#include <kelp/util/mutex.h>
#include <kelp/util/thread_work.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <set>

namespace kelp::util {

namespace {

constexpr std::size_t kTextMax = 100;

class WorkRecord;

/// The records of all threads that have one.
struct WorkRecords {
    Mutex mutex{LockRank::ServiceControl, "WorkRecords::mutex"};
    std::set<WorkRecord*> all KELP_GUARDED_BY(mutex);
};

WorkRecords& workRecords() {
    // never destroyed: threads may end after the static objects
    static WorkRecords& records = *std::make_unique<WorkRecords>().release();
    return records;
}

/// The work of one thread. Only that thread changes it.
class WorkRecord {
  public:
    WorkRecord() {
        WorkRecords& records = workRecords();
        const MutexLock lock(records.mutex);
        records.all.insert(this);
    }
    ~WorkRecord();
    WorkRecord(const WorkRecord&) = delete;
    WorkRecord& operator=(const WorkRecord&) = delete;

    /// Return false if the thread has work already.
    bool begin(std::string_view what, std::string_view detail,
               std::optional<std::chrono::seconds> limit, bool isRequest) {
        const MutexLock lock(mutex_);
        if (!report_.what.empty())
            return false;
        // assigned, so that the texts keep their memory for the next piece of work
        report_.what.assign(what.substr(0, kTextMax));
        report_.detail.assign(detail.substr(0, kTextMax));
        report_.since = std::chrono::steady_clock::now();
        report_.limit = limit;
        isRequest_ = isRequest;
        return true;
    }
    void end(bool isRequest) {
        const MutexLock lock(mutex_);
        if (isRequest_ == isRequest)
            report_.what.clear();
    }
    ThreadReport report() const {
        const MutexLock lock(mutex_);
        return report_;
    }

  private:
    mutable Mutex mutex_{LockRank::Service, "WorkRecord::mutex_"};
    ThreadReport report_ KELP_GUARDED_BY(mutex_) = {.id = ::gettid()};
    bool isRequest_ KELP_GUARDED_BY(mutex_) = false;
};

// Needs no destruction, so that it can be read until the thread has ended.
thread_local bool workRecordIsGone = false;

WorkRecord::~WorkRecord() {
    workRecordIsGone = true;
    WorkRecords& records = workRecords();
    const MutexLock lock(records.mutex);
    records.all.erase(this);
}

WorkRecord* currentWorkRecord() {
    if (workRecordIsGone)
        return nullptr;
    thread_local WorkRecord record;
    return &record;
}

}  // namespace

ThreadWork::ThreadWork(std::string_view what, std::optional<std::chrono::seconds> limit)
    : isRecorded_([&] {
          WorkRecord* const record = currentWorkRecord();
          return record != nullptr && record->begin(what, {}, limit, false);
      }()) {}

ThreadWork::~ThreadWork() {
    if (WorkRecord* const record = isRecorded_ ? currentWorkRecord() : nullptr)
        record->end(false);
}

void beginRequestWork(std::string_view operation, std::string_view caller) {
    if (WorkRecord* const record = currentWorkRecord())
        record->begin(operation, caller, {}, true);
}

void endRequestWork() noexcept {
    if (WorkRecord* const record = currentWorkRecord())
        record->end(true);
}

std::vector<ThreadReport> threadReports() {
    std::vector<ThreadReport> reports;
    {
        WorkRecords& records = workRecords();
        const MutexLock lock(records.mutex);
        for (const WorkRecord* each : records.all)
            reports.push_back(each->report());
    }
    std::sort(reports.begin(), reports.end(),
              [](const ThreadReport& a, const ThreadReport& b) { return a.id < b.id; });
    return reports;
}

}  // namespace kelp::util
