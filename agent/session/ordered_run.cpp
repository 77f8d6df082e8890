#include "session/ordered_run.h"

#include <kelp/corbabase/trace.h>
#include <kelp/util/mutex.h>
#include <kelp/util/threads.h>

#include <algorithm>
#include <exception>
#include <thread>
#include <vector>

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
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace("[runInOrder] %zu threads instead of %zu: %s", threads_.size(), most,
                              failure.what());
        }
        return threads_.size();
    }
    void awaitRun(std::size_t index) KELP_EXCLUDES(mutex_) {
        const kelp::util::MutexLock lock(mutex_);
        while (!hasRun_[index])
            changed_.wait(mutex_);
    }

  private:
    void work() KELP_EXCLUDES(mutex_) {
        const kelp::util::MutexLock lock(mutex_);
        while (next_ < hasRun_.size()) {
            const std::size_t index = next_++;
            // under the lock, so that the entries begin in order
            steps_.begin(index);
            {
                const kelp::util::MutexUnlock unlocked(mutex_);
                steps_.run(index);
            }
            hasRun_[index] = true;
            changed_.notify_one();
        }
    }

    const OrderedSteps& steps_;
    kelp::util::Mutex mutex_{kelp::util::LockRank::Agent, "Workers::mutex_"};
    kelp::util::ConditionVariable changed_;
    std::size_t next_ KELP_GUARDED_BY(mutex_) = 0;
    std::vector<bool> hasRun_ KELP_GUARDED_BY(mutex_);
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
