#include "events/alarm_log_writer.h"

#include <kelp/corbabase/trace.h>

#include <cstring>
#include <exception>
#include <utility>

namespace NS_CORBA {

namespace {

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

void AlarmLogWriter::take(const std::vector<EventPtr>& events) {
    const std::time_t now = std::time(nullptr);
    const std::lock_guard guard(mutex_);
    if (stopping_)
        return;
    for (const EventPtr& each : events) {
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
        const std::lock_guard guard(mutex_);
        if (!std::exchange(stopping_, true))
            giveUpAt_ = std::chrono::steady_clock::now() + kStopLimit;
        ending.swap(thread_);
        changed_.notify_one();
    }
    if (ending.joinable())
        ending.join();
}

void AlarmLogWriter::run() {
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return stopping_ || !waiting_.empty() || missing_ > 0; });
        if (waiting_.empty() && missing_ == 0)
            return;
        std::deque<Entry> entries;
        entries.swap(waiting_);
        const std::size_t missing = std::exchange(missing_, 0);
        lock.unlock();
        for (std::size_t i = 0; i < entries.size(); ++i) {
            if (mustGiveUp()) {
                log_.missing(entries.size() - i);
                break;
            }
            write(entries[i]);
        }
        log_.missing(missing);
        log_.flush();
        lock.lock();
    }
}

bool AlarmLogWriter::mustGiveUp() {
    const std::lock_guard guard(mutex_);
    return std::chrono::steady_clock::now() >= giveUpAt_;
}

void AlarmLogWriter::write(const Entry& entry) {
    try {
        std::stringstream entries;
        format_(entries, *entry.alarm);
        log_.write(entry.taken, entries.str());
    } catch (const std::exception& failure) {
        GetTss()->Set("alarmlog", "unknown", __LINE__);
        TaTrace("[AlarmLogWriter] An alarm could not be put into words: %s", failure.what());
        log_.missing(1);
    }
}

}  // namespace NS_CORBA
