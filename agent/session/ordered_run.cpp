#include "session/ordered_run.h"

#include <kelp/util/threads.h>

#include <algorithm>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

#include "util/trace_point.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "orderedrun";

class Workers {
  public:
    Workers(std::size_t count, const OrderedSteps& steps) : steps_(steps), hasRun_(count, false) {}
    ~Workers() {
        for (std::thread& each : threads_)
            each.join();
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    /// Start up to `most` threads, as many as the system allows. Return their number.
    std::size_t start(std::size_t most) {
        try {
            threads_.reserve(most);
            while (threads_.size() < most)
                threads_.push_back(kelp::util::startThread("ping", [this] { work(); }));
        } catch (const std::exception& failure) {
            tracePoint(kSubject);
            NS_CORBA::TaTrace("[runInOrder] %zu threads instead of %zu: %s", threads_.size(), most,
                              failure.what());
        }
        return threads_.size();
    }
    void awaitRun(std::size_t index) {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [&] { return hasRun_[index]; });
    }

  private:
    void work() {
        std::unique_lock lock(mutex_);
        while (next_ < hasRun_.size()) {
            const std::size_t index = next_++;
            // under the lock, so that the entries begin in order
            steps_.begin(index);
            lock.unlock();
            steps_.run(index);
            lock.lock();
            hasRun_[index] = true;
            changed_.notify_one();
        }
    }

    const OrderedSteps& steps_;
    std::mutex mutex_;  // guards next_ and hasRun_
    std::condition_variable changed_;
    std::size_t next_ = 0;
    std::vector<bool> hasRun_;
    std::vector<std::thread> threads_;
};

void runOneByOne(std::size_t count, const OrderedSteps& steps) {
    for (std::size_t i = 0; i < count; ++i) {
        steps.begin(i);
        steps.run(i);
        steps.conclude(i);
    }
}

}  // namespace

void runInOrder(std::size_t count, std::size_t threadsMax, const OrderedSteps& steps) {
    if (count == 0)
        return;
    Workers workers(count, steps);
    if (workers.start(std::clamp<std::size_t>(threadsMax, 1, count)) == 0) {
        runOneByOne(count, steps);
        return;
    }
    for (std::size_t i = 0; i < count; ++i) {
        workers.awaitRun(i);
        steps.conclude(i);
    }
}

}  // namespace NS_KELPCORBA
