#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/light_event.h>

#include <atomic>
#include <functional>
#include <future>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/trace_capture.h"
#include "support/wait_until.h"

namespace {

using namespace NS_BUNDLEMGR1;
using kelp::test::waitUntil;
using testing::ElementsAre;

LightEventMgr& events() {
    return *LightEventMgr::Instance();
}

LightEventData withValue(const std::string& value) {
    return LightEventData{{{"IP", value}}};
}

/// Records events as "id value" and runs a function of the test.
class Recorder : public LightEventHandler {
  public:
    explicit Recorder(std::function<void(int)> also = [](int) {}) : also_(std::move(also)) {}

    void DoWork(int eventId, const LightEventData* data) override {
        {
            const std::lock_guard guard(mutex_);
            seen_.push_back(std::to_string(eventId) + " " +
                            (data != nullptr ? GetValByKey(data->values, "IP") : "without data"));
            thread_ = std::this_thread::get_id();
        }
        also_(eventId);
    }
    std::vector<std::string> seen() const {
        const std::lock_guard guard(mutex_);
        return seen_;
    }
    std::thread::id thread() const {
        const std::lock_guard guard(mutex_);
        return thread_;
    }
    bool waitForCalls(std::size_t calls) const {
        return waitUntil([&] { return seen().size() >= calls; });
    }

  private:
    const std::function<void(int)> also_;
    mutable std::mutex mutex_;
    std::vector<std::string> seen_;
    std::thread::id thread_;
};

class LightEvents : public testing::Test {
  protected:
    ~LightEvents() override { events().Stop(); }
};

TEST_F(LightEvents, ArriveInOrderOnTheirOwnThread) {
    Recorder recorder;
    events().RegisterHandler(119, &recorder);
    events().RegisterHandler(7, &recorder);
    for (int i = 0; i < 100; ++i)
        events().Raise(i % 2 == 0 ? 119 : 7, withValue(std::to_string(i)));
    ASSERT_TRUE(recorder.waitForCalls(100));
    const std::vector<std::string> seen = recorder.seen();
    for (std::size_t i = 0; i < 100; ++i)
        EXPECT_EQ(seen[i], (i % 2 == 0 ? "119 " : "7 ") + std::to_string(i));
    EXPECT_NE(recorder.thread(), std::this_thread::get_id());
    events().DeregisterHandler(119, &recorder);
    events().DeregisterHandler(7, &recorder);
}

TEST_F(LightEvents, MayCarryNoData) {
    Recorder recorder;
    events().RegisterHandler(119, &recorder);
    events().Raise(119);
    ASSERT_TRUE(recorder.waitForCalls(1));
    EXPECT_THAT(recorder.seen(), ElementsAre("119 without data"));
    events().DeregisterHandler(119, &recorder);
}

TEST_F(LightEvents, ReachOnlyHandlersOfTheirNumber) {
    Recorder recorder;
    Recorder other;
    events().RegisterHandler(119, &recorder);
    events().RegisterHandler(120, &other);
    events().Raise(118, withValue("nobody's"));
    events().Raise(120, withValue("other's"));
    events().Raise(119, withValue("own"));
    ASSERT_TRUE(recorder.waitForCalls(1));
    EXPECT_THAT(recorder.seen(), ElementsAre("119 own"));
    EXPECT_THAT(other.seen(), ElementsAre("120 other's"));
    events().DeregisterHandler(119, &recorder);
    events().DeregisterHandler(120, &other);
}

TEST_F(LightEvents, HandlersAreCalledInTheOrderOfTheirRegistrationAndOnceEach) {
    std::mutex mutex;
    std::vector<std::string> order;
    const auto writeDown = [&](const std::string& name) {
        return [&, name](int) {
            const std::lock_guard guard(mutex);
            order.push_back(name);
        };
    };
    Recorder first(writeDown("first"));
    Recorder second(writeDown("second"));
    events().RegisterHandler(119, &first);
    events().RegisterHandler(119, &second);
    events().RegisterHandler(119, &first);
    events().Raise(119);
    events().Stop();
    EXPECT_THAT(order, ElementsAre("first", "second"));
    events().DeregisterHandler(119, &first);
    events().DeregisterHandler(119, &second);
}

TEST_F(LightEvents, DeregisteredHandlerIsNotCalledAnyMore) {
    Recorder recorder;
    Recorder last;
    events().RegisterHandler(119, &recorder);
    events().RegisterHandler(119, &last);
    events().DeregisterHandler(119, &recorder);
    events().Raise(119);
    ASSERT_TRUE(last.waitForCalls(1));
    EXPECT_TRUE(recorder.seen().empty());
    events().DeregisterHandler(119, &last);
    events().DeregisterHandler(119, &recorder);
}

TEST_F(LightEvents, DeregistrationWaitsForARunningCallAndDropsTheQueuedOnes) {
    std::promise<void> entered;
    std::promise<void> mayLeave;
    std::atomic<bool> left{false};
    Recorder recorder([&](int) {
        entered.set_value();
        mayLeave.get_future().wait();
        left = true;
    });
    events().RegisterHandler(119, &recorder);
    events().Raise(119);
    events().Raise(119);
    entered.get_future().wait();

    std::atomic<bool> deregistered{false};
    bool leftFirst = false;
    std::thread deregistering([&] {
        events().DeregisterHandler(119, &recorder);
        leftFirst = left;
        deregistered = true;
    });
    EXPECT_FALSE(waitUntil([&] { return deregistered.load(); }, std::chrono::milliseconds(50)));
    mayLeave.set_value();
    deregistering.join();
    EXPECT_TRUE(leftFirst);
    events().Stop();
    EXPECT_EQ(recorder.seen().size(), 1u);
}

TEST_F(LightEvents, DeregistrationDoesNotWaitForOtherHandlers) {
    std::promise<void> entered;
    std::promise<void> mayLeave;
    Recorder busy([&](int) {
        entered.set_value();
        mayLeave.get_future().wait();
    });
    Recorder idle;
    events().RegisterHandler(119, &busy);
    events().RegisterHandler(119, &idle);
    events().Raise(119);
    entered.get_future().wait();
    events().DeregisterHandler(119, &idle);
    mayLeave.set_value();
    events().Stop();
    EXPECT_TRUE(idle.seen().empty()) << "deregistered while the handler before it ran";
    events().DeregisterHandler(119, &busy);
}

TEST_F(LightEvents, HandlerMayDeregisterItselfAndOthers) {
    Recorder other;
    Recorder* self = nullptr;
    Recorder recorder([&](int) {
        events().DeregisterHandler(119, self);
        events().DeregisterHandler(119, &other);
    });
    self = &recorder;
    events().RegisterHandler(119, &recorder);
    events().RegisterHandler(119, &other);
    events().Raise(119);
    events().Raise(119);
    events().Stop();
    EXPECT_EQ(recorder.seen().size(), 1u);
    EXPECT_TRUE(other.seen().empty());
}

TEST_F(LightEvents, HandlerMayRaiseRegisterAndStop) {
    const kelp::test::TraceCapture trace;
    Recorder second;
    Recorder first([&](int) {
        events().RegisterHandler(120, &second);
        events().Raise(120, withValue("raised by a handler"));
        events().Stop();
    });
    events().RegisterHandler(119, &first);
    events().Raise(119);
    ASSERT_TRUE(second.waitForCalls(1)) << "what is queued at the stop is delivered";
    EXPECT_THAT(second.seen(), ElementsAre("120 raised by a handler"));
    events().Stop();
    EXPECT_FALSE(trace.contains("threw"));
    events().DeregisterHandler(119, &first);
    events().DeregisterHandler(120, &second);
}

TEST_F(LightEvents, ThrowingHandlerIsTracedAndHarmsNobody) {
    const kelp::test::TraceCapture trace;
    Recorder broken([](int) { throw std::runtime_error("handler is broken"); });
    Recorder healthy;
    events().RegisterHandler(119, &broken);
    events().RegisterHandler(119, &healthy);
    events().Raise(119);
    events().Raise(119);
    ASSERT_TRUE(healthy.waitForCalls(2));
    EXPECT_EQ(trace.count("a handler of light event 119 threw: handler is broken"), 2u);
    events().DeregisterHandler(119, &broken);
    events().DeregisterHandler(119, &healthy);
}

TEST_F(LightEvents, StopDeliversQueuedEventsAndAcceptsNoMore) {
    Recorder recorder;
    events().RegisterHandler(119, &recorder);
    for (int i = 0; i < 100; ++i)
        events().Raise(119);
    events().Stop();
    EXPECT_EQ(recorder.seen().size(), 100u);
    events().Raise(119);
    events().Stop();
    EXPECT_EQ(recorder.seen().size(), 100u);
    events().DeregisterHandler(119, &recorder);
}

TEST_F(LightEvents, NextRegistrationStartsTheThreadAgain) {
    Recorder first;
    events().RegisterHandler(119, &first);
    events().Stop();
    Recorder second;
    events().RegisterHandler(119, &second);
    events().Raise(119);
    EXPECT_TRUE(second.waitForCalls(1));
    EXPECT_EQ(first.seen().size(), 1u) << "it is still registered";
    events().DeregisterHandler(119, &first);
    events().DeregisterHandler(119, &second);
}

TEST_F(LightEvents, StopWithoutAStartAndStrangersAreHarmless) {
    Recorder stranger;
    events().Stop();
    events().DeregisterHandler(119, &stranger);
    events().RegisterHandler(119, nullptr);
    events().Raise(119);
}

TEST(LightEventData, ValueIsTheFirstUnderItsKey) {
    const std::list<NameValueStru> values{{"IP", "10.0.0.1"}, {"PORT", "4000"}, {"IP", "10.0.0.2"}};
    EXPECT_EQ(GetValByKey(values, "IP"), "10.0.0.1");
    EXPECT_EQ(GetValByKey(values, "PORT"), "4000");
    EXPECT_EQ(GetValByKey(values, "USN"), "");
    EXPECT_EQ(GetValByKey({}, "IP"), "");
}

}  // namespace
