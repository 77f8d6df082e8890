#include "event_types/change_notices.h"

#include <kelp/orb/timeouts.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <exception>
#include <string>
#include <system_error>
#include <utility>

#include "event_types/followed_types.h"

namespace kelp::notification {

namespace {

using util::MutexLock;

void traceFailure(const std::string& what, const std::exception& failure) {
    kelp::util::traceFrom("changenotices", what + failure.what(), kelp::util::TraceKind::Exception);
}

}  // namespace

ChangeNotices::ChangeNotices(std::chrono::milliseconds callTimeout) : callTimeout_(callTimeout) {}

ChangeNotices::~ChangeNotices() {
    stop();
}

void ChangeNotices::schedule(std::shared_ptr<FollowedTypes> types) {
    const MutexLock lock(mutex_);
    if (stopping_)
        return;
    if (std::find(waiting_.begin(), waiting_.end(), types) == waiting_.end())
        waiting_.push_back(std::move(types));
    if (thread_.joinable()) {
        work_.notify_one();
        return;
    }
    try {
        thread_ = std::thread([this] { run(); });
    } catch (const std::system_error& failure) {
        traceFailure("changes of event types are told with the next one: ", failure);
    }
}

void ChangeNotices::close() {
    std::deque<std::shared_ptr<FollowedTypes>>
        forgotten;  // may delete them, which must not happen under the lock
    const MutexLock lock(mutex_);
    stopping_ = true;
    forgotten.swap(waiting_);
    work_.notify_all();
}

void ChangeNotices::stop() {
    close();
    std::thread ending;
    {
        const MutexLock lock(mutex_);
        ending.swap(thread_);
    }
    if (ending.joinable())
        ending.join();
}

std::shared_ptr<FollowedTypes> ChangeNotices::next() {
    const MutexLock lock(mutex_);
    while (!stopping_ && waiting_.empty())
        work_.wait(mutex_);
    if (stopping_)
        return nullptr;
    std::shared_ptr<FollowedTypes> types = std::move(waiting_.front());
    waiting_.pop_front();
    return types;
}

void ChangeNotices::run() {
    while (std::shared_ptr<FollowedTypes> types = next()) {
        try {
            const kelp::orb::ScopedThreadTimeout limit(callTimeout_);
            if (types->tellNext())
                schedule(std::move(types));
        } catch (const std::exception& failure) {
            traceFailure("a change of event types was not told: ", failure);
        }
    }
}

}  // namespace kelp::notification
