#include "channel/temporary_threads.h"

#include <kelp/util/threads.h>

#include <utility>

namespace kelp::notification {

void TemporaryThreads::start(const std::string& name, std::function<void(Self)> body) {
    // joining takes no time: they have released the lock for the last time
    for (std::thread& each : left_)
        each.join();
    left_.clear();
    const auto self = running_.emplace(running_.end());
    try {
        *self = util::startThread(name, [body = std::move(body), self] { body(self); });
    } catch (...) {
        running_.erase(self);
        throw;
    }
}

void TemporaryThreads::leave(Self self) {
    if (self->joinable())
        left_.push_back(std::move(*self));
    running_.erase(self);
}

std::vector<std::thread> TemporaryThreads::takeAll() {
    std::vector<std::thread> all = std::exchange(left_, {});
    // the entries stay until the threads leave
    for (std::thread& each : running_)
        all.push_back(std::move(each));
    return all;
}

}  // namespace kelp::notification
