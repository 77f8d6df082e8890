#pragma once

#include <cos/CosNotifyComm.h>
#include <gtest/gtest.h>
#include <kelp/orb/awaited_pushes.h>
#include <kelp/orb/event_sender.h>
#include <kelp/orb/references.h>
#include <kelp/orb/timeouts.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "numbered_event.h"
#include "support/orb_fixture.h"

namespace kelp::test {

inline const std::string kAccepted = "accepted";
inline const std::string kUndecided = "undecided";
inline const std::string kNotSent = "not sent";

/// Return what came of a push: one of the words above, or the name of the exception it raised.
inline std::string outcomeOf(const std::function<std::string()>& push) {
    try {
        return push();
    } catch (const CORBA::Exception& ex) {
        return ex._name();
    }
}

/// Keeps what came of a push, and then runs a function of the test, on the same thread.
class PushEnd final : public orb::PushWaiter {
  public:
    explicit PushEnd(std::function<void()> then = [] {}) : then_(std::move(then)) {}

    void ended(orb::EndedPush& push) noexcept override {
        const std::string outcome = outcomeOf([&push] {
            return push.end() == orb::EndedPush::End::Accepted ? kAccepted : kUndecided;
        });
        {
            const std::lock_guard guard(mutex_);
            outcome_ = outcome_ ? "ended twice" : outcome;
        }
        then_();
    }
    std::optional<std::string> outcome() const {
        const std::lock_guard guard(mutex_);
        return outcome_;
    }

  private:
    const std::function<void()> then_;
    mutable std::mutex mutex_;
    std::optional<std::string> outcome_;
};

/// Pushes that are awaited, with the ORB that sends them.
class AwaitedPushTest : public testing::Test {
  protected:
    using Clock = std::chrono::steady_clock;
    using Milliseconds = std::chrono::milliseconds;

    RunningOrb orb_;
    std::unique_ptr<orb::AwaitedPushes> pushes_ = orb::makeAwaitedPushes();

    CosNotifyComm::StructuredPushConsumer_ptr consumerAt(const std::string& corbaloc) const {
        const CORBA::Object_var object = orb::toReference(orb_.orb(), corbaloc);
        return CosNotifyComm::StructuredPushConsumer::_unchecked_narrow(object.in());
    }
    /// Make an ordinary push and return what came of it.
    static std::string ordinary(CosNotifyComm::StructuredPushConsumer_ptr consumer,
                                Milliseconds limit = std::chrono::seconds(10)) {
        const orb::SharedEvent event(numbered(1));
        return outcomeOf([&] {
            const orb::ScopedThreadTimeout timeout(limit);
            orb::ordinarySender().push(consumer, event);
            return kAccepted;
        });
    }
    /// Send a push, wait for its end and return what came of it.
    std::string awaited(CosNotifyComm::StructuredPushConsumer_ptr consumer,
                        Milliseconds limit = std::chrono::seconds(10)) {
        const orb::SharedEvent event(numbered(2));
        return awaited(consumer, event, limit);
    }
    std::string awaited(CosNotifyComm::StructuredPushConsumer_ptr consumer,
                        const orb::SharedEvent& event, Milliseconds limit) {
        const auto end = std::make_shared<PushEnd>();
        if (!pushes_->push(consumer, event, limit, end))
            return kNotSent;
        return waitFor(*end);
    }
    std::string waitFor(const PushEnd& end) {
        const Clock::time_point latest = Clock::now() + std::chrono::seconds(20);
        while (!end.outcome() && Clock::now() < latest)
            pushes_->wait(Clock::now() + Milliseconds(20));
        return end.outcome().value_or("no end");
    }
};

}  // namespace kelp::test
