#pragma once

#include <kelp/orb/corba.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/timeouts.h>
#include <mtnm/globaldefs.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace kelp::test {

/// Append the last value of each name.
inline void appendValues(const globaldefs::NamingAttributesList_T& names,
                         std::vector<std::string>& values) {
    for (CORBA::ULong i = 0; i < names.length(); ++i)
        values.emplace_back(names[i][names[i].length() - 1].value.in());
}

/// One list and the entries that all threads have read from it.
class IteratorWalk {
  public:
    IteratorWalk(globaldefs::NamingAttributesIterator_I_ptr rest, std::vector<std::string> first)
        : rest_(globaldefs::NamingAttributesIterator_I::_duplicate(rest)),
          values_(std::move(first)) {}

    void read(CORBA::ULong howMany) {
        globaldefs::NamingAttributesList_T_var names;
        rest_->next_n(howMany, names.out());
        const std::lock_guard guard(mutex_);
        appendValues(names.in(), values_);
    }
    void destroy() { rest_->destroy(); }
    /// True if the entries read are the first ones of `all`, each exactly once.
    bool isWithoutGap(std::vector<std::string> all) {
        const std::lock_guard guard(mutex_);
        if (values_.size() > all.size())
            return false;
        all.resize(values_.size());
        return std::is_permutation(values_.begin(), values_.end(), all.begin());
    }

  private:
    const globaldefs::NamingAttributesIterator_I_var rest_;
    std::mutex mutex_;
    std::vector<std::string> values_;  // guarded by mutex_
};

/// Threads that concurrently open lists, read batches of them and destroy their iterators until
/// they are stopped.
class IteratorMixture {
  public:
    /// Request the list. Called by two threads. May throw what the call throws.
    using Open = std::function<std::shared_ptr<IteratorWalk>()>;
    explicit IteratorMixture(Open open) : open_(std::move(open)) {
        for (unsigned i = 0; i < 2; ++i)
            start([this](std::minstd_rand&) { remember(open_()); });
        for (unsigned i = 0; i < 3; ++i)
            start([this](std::minstd_rand& random) { readSome(random); });
        start([this](std::minstd_rand& random) { destroyOne(random); });
    }
    ~IteratorMixture() { stop(); }
    IteratorMixture(const IteratorMixture&) = delete;
    IteratorMixture& operator=(const IteratorMixture&) = delete;

    int served() const { return served_; }
    /// Calls refused because the iterator or the session was over.
    int closed() const { return closed_; }
    /// Calls with any other outcome; strangest() describes the last one.
    int strange() const { return strange_; }
    std::string strangest() {
        const std::lock_guard guard(mutex_);
        return strangest_;
    }

    /// Stop the threads. Return how many lists had gaps or repeated entries, where `all` is the
    /// whole list.
    int stopAndCountGaps(const std::vector<std::string>& all) {
        stop();
        return static_cast<int>(std::count_if(walks_.begin(), walks_.end(), [&](const auto& walk) {
            return !walk->isWithoutGap(all);
        }));
    }

  private:
    /// Walks to choose from. This is more than are open, so closed iterators are called as well.
    static constexpr std::size_t kCalled = 10;
    static constexpr std::chrono::seconds kCallLimit{60};
    using Step = std::function<void(std::minstd_rand&)>;

    void start(Step step) {
        threads_.emplace_back(
            [this, step = std::move(step), seed = static_cast<unsigned>(threads_.size()) + 1] {
                orb::setThreadTimeout(kCallLimit);
                std::minstd_rand random(seed);
                while (!isOver_)
                    run(step, random);
            });
    }
    void run(const Step& step, std::minstd_rand& random) {
        try {
            step(random);
            ++served_;
        } catch (const CORBA::OBJECT_NOT_EXIST&) {
            ++closed_;
        } catch (const CORBA::OBJ_ADAPTER&) {
            ++closed_;
        } catch (const CORBA::TRANSIENT&) {
            ++closed_;  // the session's adapter is being destroyed
        } catch (const globaldefs::ProcessingFailureException& refusal) {
            if (refusal.exceptionType == globaldefs::EXCPT_INTERNAL_ERROR)
                ++closed_;  // the session ended while it opened the iterator
            else
                noteStrange(refusal.errorReason.in());
        } catch (const CORBA::Exception& exception) {
            noteStrange(orb::exceptionText(exception));
        }
    }
    void noteStrange(const std::string& what) {
        ++strange_;
        const std::lock_guard guard(mutex_);
        strangest_ = what;
    }
    void remember(const std::shared_ptr<IteratorWalk>& walk) {
        const std::lock_guard guard(mutex_);
        walks_.push_back(walk);
    }
    std::shared_ptr<IteratorWalk> any(std::minstd_rand& random) {
        const std::lock_guard guard(mutex_);
        if (walks_.empty())
            return nullptr;
        return walks_[walks_.size() - 1 - random() % std::min(walks_.size(), kCalled)];
    }
    void readSome(std::minstd_rand& random) {
        if (const std::shared_ptr<IteratorWalk> walk = any(random))
            walk->read(static_cast<CORBA::ULong>(random() % 9));
    }
    void destroyOne(std::minstd_rand& random) {
        const std::shared_ptr<IteratorWalk> walk = any(random);
        if (walk != nullptr && random() % 4 == 0)
            walk->destroy();
    }
    void stop() {
        isOver_ = true;
        for (std::thread& each : threads_)
            each.join();
        threads_.clear();
    }

    const Open open_;
    std::mutex mutex_;
    std::vector<std::shared_ptr<IteratorWalk>> walks_;  // guarded by mutex_
    std::string strangest_;                             // guarded by mutex_
    std::atomic<bool> isOver_{false};
    std::atomic<int> served_{0}, closed_{0}, strange_{0};
    std::vector<std::thread> threads_;
};

}  // namespace kelp::test
