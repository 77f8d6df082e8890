#include "common/client_threads.h"

#include <utility>

namespace kelp::bench {

ClientThreads::ClientThreads(std::size_t threads) {
    for (std::size_t number = 0; number < threads; ++number)
        threads_.emplace_back([this, number] { work(number); });
}

ClientThreads::~ClientThreads() {
    {
        const std::lock_guard lock(mutex_);
        end_ = true;
    }
    changed_.notify_all();
    for (std::thread& thread : threads_)
        thread.join();
}

ClientThreads::Count ClientThreads::run(std::size_t threads, std::chrono::milliseconds length,
                                        const std::function<void(std::size_t)>& call) {
    std::unique_lock lock(mutex_);
    call_ = &call;
    wanted_ = running_ = threads;
    calls_ = 0;
    stop_ = false;
    ++round_;
    const auto begin = std::chrono::steady_clock::now();
    changed_.notify_all();
    changed_.wait_for(lock, length, [this] { return running_ == 0; });
    stop_ = true;
    changed_.wait(lock, [this] { return running_ == 0; });
    const auto time = std::chrono::steady_clock::now() - begin;
    if (failure_)
        std::rethrow_exception(std::exchange(failure_, nullptr));
    return {calls_, time};
}

void ClientThreads::work(std::size_t number) {
    std::uint64_t done = 0;
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [&] { return end_ || (round_ != done && number < wanted_); });
        if (end_)
            return;
        done = round_;
        lock.unlock();
        std::uint64_t calls = 0;
        std::exception_ptr failure;
        try {
            calls = callUntilStopped(number);
        } catch (...) {
            failure = std::current_exception();
            stop_ = true;
        }
        lock.lock();
        calls_ += calls;
        if (failure)
            failure_ = failure;
        if (--running_ == 0)
            changed_.notify_all();
    }
}

std::uint64_t ClientThreads::callUntilStopped(std::size_t number) {
    std::uint64_t calls = 0;
    do {
        (*call_)(number);
        ++calls;
    } while (!stop_.load(std::memory_order_relaxed));
    return calls;
}

}  // namespace kelp::bench
