#pragma once

#include <kelp/orb/awaited_pushes.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

#include "delivery/connected_consumer.h"
#include "numbered_events.h"

namespace kelp::notification::test {

/// Pushes that the test ends, instead of a consumer.
class HandPushes final : public kelp::orb::AwaitedPushes {
  public:
    using End = kelp::orb::EndedPush::End;
    using HowItEnds = std::function<End()>;

    /// What a SendingConsumer calls.
    void sent(std::shared_ptr<kelp::orb::PushWaiter> waiter) {
        const std::lock_guard lock(mutex_);
        waiting_.push_back(std::move(waiter));
    }
    /// End the oldest push on the calling thread.
    void end(const HowItEnds& how = accepted) {
        std::shared_ptr<kelp::orb::PushWaiter> waiter;
        {
            const std::lock_guard lock(mutex_);
            waiter = waiting_.front();
            waiting_.pop_front();
        }
        tell(*waiter, how);
    }
    /// From now on let wait() end the pushes as accepted.
    void acceptAll() {
        const std::lock_guard lock(mutex_);
        isAccepting_ = true;
        changed_.notify_all();
    }

    bool push(CosNotifyComm::StructuredPushConsumer_ptr, const kelp::orb::SharedEvent&,
              std::chrono::milliseconds, std::shared_ptr<kelp::orb::PushWaiter>) override {
        return false;
    }
    bool push(CosNotifyComm::SequencePushConsumer_ptr,
              std::span<const kelp::orb::SharedEvent* const>, std::chrono::milliseconds,
              std::shared_ptr<kelp::orb::PushWaiter>) override {
        return false;
    }
    bool wait(std::optional<std::chrono::steady_clock::time_point> until) override {
        std::unique_lock lock(mutex_);
        const auto isOver = [this] { return isWoken_ || (isAccepting_ && !waiting_.empty()); };
        if (until)
            changed_.wait_until(lock, *until, isOver);
        else
            changed_.wait(lock, isOver);
        const bool wasWoken = std::exchange(isWoken_, false);
        std::deque<std::shared_ptr<kelp::orb::PushWaiter>> ended;
        if (isAccepting_)
            ended.swap(waiting_);
        lock.unlock();
        for (const auto& each : ended)
            tell(*each, accepted);
        return wasWoken;
    }
    void wake() override {
        const std::lock_guard lock(mutex_);
        isWoken_ = true;
        changed_.notify_one();
    }
    std::size_t awaited() const override {
        const std::lock_guard lock(mutex_);
        return waiting_.size();
    }

  private:
    class Ended final : public kelp::orb::EndedPush {
      public:
        explicit Ended(const HowItEnds& how) : how_(how) {}
        End end() override { return how_(); }

      private:
        const HowItEnds& how_;
    };

    static End accepted() { return End::Accepted; }
    static void tell(kelp::orb::PushWaiter& waiter, const HowItEnds& how) {
        Ended push(how);
        waiter.ended(push);
    }

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<std::shared_ptr<kelp::orb::PushWaiter>> waiting_;
    bool isAccepting_ = false;
    bool isWoken_ = false;
};

/// A consumer to which events are sent without waiting.
class SendingConsumer final : public ConnectedConsumer {
  public:
    explicit SendingConsumer(HandPushes& pushes) : pushes_(pushes) {}

    std::size_t batchMax() const override { return batch; }
    bool canSend() const override { return true; }
    bool send(const std::vector<EventPtr>& events, kelp::orb::AwaitedPushes&,
              std::chrono::milliseconds,
              const std::shared_ptr<kelp::orb::PushWaiter>& waiter) override {
        if (onSend)
            onSend();
        if (isRefusing)
            return false;
        note(sent, events);
        pushes_.sent(waiter);
        return true;
    }
    void deliver(const std::vector<EventPtr>& events) override { note(delivered, events); }
    void probe() override { ++probes; }
    void disconnect() override {}

    std::vector<int> numbersSent() const {
        const std::lock_guard lock(mutex_);
        return sent;
    }

    std::size_t batch = 1;
    bool isRefusing = false;
    std::function<void()> onSend;
    std::vector<int> sent;
    std::vector<int> delivered;
    int probes = 0;

  private:
    void note(std::vector<int>& numbers, const std::vector<EventPtr>& events) {
        const std::lock_guard lock(mutex_);
        for (const EventPtr& each : events)
            numbers.push_back(numberOf(each));
    }

    HandPushes& pushes_;
    mutable std::mutex mutex_;
};

}  // namespace kelp::notification::test
