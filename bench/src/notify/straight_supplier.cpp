#include <cos/CosNotifyComm.h>
#include <kelp/orb/references.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include "supplier.h"

namespace kelp::bench {

namespace {

using Event = std::shared_ptr<const CosNotification::StructuredEvent>;

/// One consumer with its thread.
class Line {
  public:
    explicit Line(CORBA::Object_ptr object)
        : single_(CosNotifyComm::StructuredPushConsumer::_narrow(object)),
          sequence_(CosNotifyComm::SequencePushConsumer::_narrow(object)),
          thread_([this] { run(); }) {}
    ~Line() {
        {
            const std::lock_guard guard(mutex_);
            ending_ = true;
        }
        changed_.notify_all();
        thread_.join();
    }
    Line(const Line&) = delete;
    Line& operator=(const Line&) = delete;

    void add(const Event& event) {
        {
            const std::lock_guard guard(mutex_);
            events_.push_back(event);
        }
        changed_.notify_one();
    }
    std::size_t waiting() {
        const std::lock_guard guard(mutex_);
        return events_.size();
    }

  private:
    /// Deliver the events. An event stays in the queue until it is delivered.
    void run() {
        std::unique_lock lock(mutex_);
        for (;;) {
            changed_.wait(lock, [this] { return ending_ || !events_.empty(); });
            if (ending_)
                return;
            const std::size_t count =
                CORBA::is_nil(sequence_.in()) ? 1 : std::min<std::size_t>(events_.size(), kBatch);
            const std::vector<Event> some(events_.begin(),
                                          events_.begin() + static_cast<std::ptrdiff_t>(count));
            lock.unlock();
            deliver(some);
            lock.lock();
            events_.erase(events_.begin(), events_.begin() + static_cast<std::ptrdiff_t>(count));
        }
    }
    void deliver(const std::vector<Event>& some) {
        if (CORBA::is_nil(sequence_.in())) {
            single_->push_structured_event(*some.front());
            return;
        }
        CosNotification::EventBatch batch;
        batch.length(static_cast<CORBA::ULong>(some.size()));
        for (CORBA::ULong i = 0; i < batch.length(); ++i)
            batch[i] = *some[i];
        sequence_->push_structured_events(batch);
    }

    const CosNotifyComm::StructuredPushConsumer_var single_;
    const CosNotifyComm::SequencePushConsumer_var sequence_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Event> events_;
    bool ending_ = false;
    std::thread thread_;
};

class StraightSupplier final : public Supplier {
  public:
    StraightSupplier(CORBA::ORB_ptr orb, const std::vector<std::string>& consumers) {
        for (const std::string& each : consumers) {
            const CORBA::Object_var object = kelp::orb::toReference(orb, each);
            lines_.push_back(std::make_unique<Line>(object.in()));
        }
    }
    void push(const CosNotification::StructuredEvent& event) override {
        const auto shared = std::make_shared<const CosNotification::StructuredEvent>(event);
        for (const std::unique_ptr<Line>& each : lines_)
            each->add(shared);
    }
    std::size_t waiting() override {
        std::size_t most = 0;
        for (const std::unique_ptr<Line>& each : lines_)
            most = std::max(most, each->waiting());
        return most;
    }

  private:
    std::vector<std::unique_ptr<Line>> lines_;
};

}  // namespace

std::unique_ptr<Supplier> straightSupplier(CORBA::ORB_ptr orb,
                                           const std::vector<std::string>& consumers) {
    return std::make_unique<StraightSupplier>(orb, consumers);
}

}  // namespace kelp::bench
