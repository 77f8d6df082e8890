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

    void begin(std::string_view what, std::string_view detail,
               std::optional<std::chrono::seconds> limit) {
        const MutexLock lock(mutex_);
        // assigned, so that the texts keep their memory for the next piece of work
        report_.what.assign(what.substr(0, kTextMax));
        report_.detail.assign(detail.substr(0, kTextMax));
        report_.since = std::chrono::steady_clock::now();
        report_.limit = limit;
    }
    void end() {
        const MutexLock lock(mutex_);
        report_.what.clear();
    }
    ThreadReport report() const {
        const MutexLock lock(mutex_);
        return report_;
    }

  private:
    mutable Mutex mutex_{LockRank::Service, "WorkRecord::mutex_"};
    ThreadReport report_ KELP_GUARDED_BY(mutex_) = {.id = ::gettid()};
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

void beginWork(std::string_view what, std::string_view detail,
               std::optional<std::chrono::seconds> limit) {
    if (WorkRecord* const record = currentWorkRecord())
        record->begin(what, detail, limit);
}

void endWork() noexcept {
    if (WorkRecord* const record = currentWorkRecord())
        record->end();
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
