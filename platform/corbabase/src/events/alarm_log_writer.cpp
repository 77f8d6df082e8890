#include "events/alarm_log_writer.h"

#include <kelp/corbabase/trace.h>

#include <cstring>
#include <exception>
#include <utility>

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;

constexpr const char* kAlarmType = "NT_ALARM";
/// Maximum time that a stop waits for the disk.
constexpr std::chrono::seconds kStopLimit{5};

bool isAlarm(const CosNotification::StructuredEvent& event) {
    return std::strcmp(event.header.fixed_header.event_type.type_name.in(), kAlarmType) == 0;
}

}  // namespace

AlarmLogWriter::AlarmLogWriter(const std::filesystem::path& file, Format format,
                               std::size_t waitingMax)
    : format_(std::move(format)), waitingMax_(waitingMax), log_(file), thread_([this] { run(); }) {}

AlarmLogWriter::~AlarmLogWriter() {
    stop();
}

void AlarmLogWriter::enqueue(const std::vector<StructuredEventPtr>& events) {
    const std::time_t now = std::time(nullptr);
    const MutexLock guard(mutex_);
    if (stopping_)
        return;
    for (const StructuredEventPtr& each : events) {
        if (!isAlarm(*each))
            continue;
        if (waiting_.size() < waitingMax_)
            waiting_.push_back({now, each});
        else
            ++missing_;
    }
    changed_.notify_one();
}

void AlarmLogWriter::stop() {
    std::thread ending;
    {
        const MutexLock guard(mutex_);
        if (!std::exchange(stopping_, true))
            giveUpAt_ = std::chrono::steady_clock::now() + kStopLimit;
        ending.swap(thread_);
        changed_.notify_one();
    }
    if (ending.joinable())
        ending.join();
}

void AlarmLogWriter::run() {
    for (;;) {
        const Batch batch = next();
        if (batch.alarms.empty() && batch.missing == 0)
            return;
        write(batch);
    }
}

AlarmLogWriter::Batch AlarmLogWriter::next() {
    const MutexLock lock(mutex_);
    while (!stopping_ && waiting_.empty() && missing_ == 0)
        changed_.wait(mutex_);
    return {std::exchange(waiting_, {}), std::exchange(missing_, 0)};
}

void AlarmLogWriter::write(const Batch& batch) {
    for (std::size_t i = 0; i < batch.alarms.size(); ++i) {
        if (mustGiveUp()) {
            log_.missing(batch.alarms.size() - i);
            break;
        }
        write(batch.alarms[i]);
    }
    log_.missing(batch.missing);
    log_.flush();
}

bool AlarmLogWriter::mustGiveUp() {
    const MutexLock guard(mutex_);
    return std::chrono::steady_clock::now() >= giveUpAt_;
}

void AlarmLogWriter::write(const Entry& entry) {
    try {
        std::stringstream entries;
        format_(entries, *entry.alarm);
        log_.write(entry.accepted, entries.str());
    } catch (const std::exception& failure) {
        tracePoint("alarmlog");
        TaTrace("[AlarmLogWriter] An alarm could not be put into words: %s", failure.what());
        log_.missing(1);
    }
}

}  // namespace NS_CORBA
