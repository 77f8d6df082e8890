#include <kelp/util/thread_context.h>

namespace NS_UTIL {

namespace {

// Needs no destruction, so that it can be read until the thread has ended: destructors of
// thread-local and static objects trace too.
thread_local bool recordIsGone = false;

struct Record {
    ThreadContextInfo info;
    Record() = default;
    ~Record() { recordIsGone = true; }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
};

Record* currentRecord() {
    if (recordIsGone)
        return nullptr;
    thread_local Record record;
    return &record;
}

}  // namespace

ThreadContextMgr* ThreadContextMgr::Instance() {
    static ThreadContextMgr instance;
    return &instance;
}

void ThreadContextMgr::SetThreadContext(const ThreadContextInfo& info) {
    // copied, not moved: the texts keep their memory, so that the next request allocates none
    if (Record* const record = currentRecord())
        record->info = info;
}

ThreadContextInfo ThreadContextMgr::GetThreadContext() const {
    const Record* const record = currentRecord();
    return record != nullptr ? record->info : ThreadContextInfo();
}

void ThreadContextMgr::ClearThreadContext() {
    if (Record* const record = currentRecord())
        record->info.Clear();
}

}  // namespace NS_UTIL
