// Iterators as an NMS uses them.

#include <gmock/gmock.h>

#include <thread>

#include "iterator_fixture.h"
#include "name_iterators.h"
#include "support/latch.h"
#include "support/module_workers.h"

namespace kelp::test {
namespace {

class TypedIterator : public IteratorFixture {
  protected:
    explicit TypedIterator(const AgentOptions& options = {}) : IteratorFixture(options) {
        manager_ = agent_.remoteManager(session_.in());
        agent_.manager().onCall = [this] { answer(); };
    }
    struct Answer {
        std::vector<int> first;
        NamingAttributesIterator_I_var rest;  ///< called over a connection; nil if there was none
    };
    /// Request a list of `count` entries over a connection.
    Answer list(CORBA::ULong count, CORBA::ULong howMany) {
        source_ = std::make_unique<NumberedNames>(count);
        return list(howMany);
    }
    Answer list(CORBA::ULong howMany) {
        howMany_ = howMany;
        common::CapabilityList_T_var capabilities;
        manager_->getCapabilities(capabilities.out());
        Answer answer;
        answer.first = numbersOf(first_.in());
        if (!CORBA::is_nil(rest_.in()))
            answer.rest = agent_.overTheWire<NamingAttributesIterator_I>(rest_.in());
        return answer;
    }
    /// Expect that a failure to read the next entry is traced, reported to the NMS, and closes the
    /// iterator.
    void expectOverAfter(std::function<void()> fail, const char* traced) {
        const TraceCapture trace;
        source_ = failingAt(6, fail);
        const Answer answer = list(3);
        EXPECT_EQ(answer.first, numbers(1, 3));
        EXPECT_EQ(refusalOf([&] { next(answer.rest.in(), 5); }), kNotActivated);
        EXPECT_EQ(trace.count(traced), 1u);
        EXPECT_TRUE(waitUntil([] { return count() == 0; })) << "entries that were read may be lost";
        EXPECT_TRUE(isGone([&] { next(answer.rest.in(), 5); }));
        source_ = failingAt(1, fail);
        EXPECT_EQ(refusalOf([&] { list(3); }), kNotActivated);
        EXPECT_EQ(trace.count(traced), 2u);
        EXPECT_EQ(count(), 0u);
    }

    std::unique_ptr<NumberedNames> source_;

  private:
    static std::unique_ptr<NumberedNames> failingAt(CORBA::ULong entry,
                                                    const std::function<void()>& fail) {
        auto source = std::make_unique<NumberedNames>(10);
        source->failsAt = entry;
        source->fail = fail;
        return source;
    }
    void answer() { rest_ = NameIterator::give(std::move(source_), howMany_, first_.out()); }

    common::Common_I_var manager_;
    CORBA::ULong howMany_ = 0;
    NamingAttributesList_T_var first_;
    NamingAttributesIterator_I_var rest_;
};

TEST_F(TypedIterator, IsNilWhenAllAreInTheList) {
    for (const CORBA::ULong howMany : {3u, 4u, 4294967295u}) {
        const Answer answer = list(3, howMany);
        EXPECT_EQ(answer.first, numbers(1, 3));
        EXPECT_TRUE(CORBA::is_nil(answer.rest.in()));
    }
    EXPECT_TRUE(CORBA::is_nil(list(0, 0).rest.in()));
    EXPECT_EQ(count(), 0u);
}

TEST_F(TypedIterator, GivesTheRestAndEndsWithItsLastBatch) {
    const Answer answer = list(10, 4);
    EXPECT_EQ(answer.first, numbers(1, 4));
    ASSERT_FALSE(CORBA::is_nil(answer.rest.in()));
    EXPECT_EQ(answer.rest->getLength(), 6u);
    const Batch some = next(answer.rest.in(), 4);
    EXPECT_EQ(some.numbers, numbers(5, 8));
    EXPECT_TRUE(some.isMore);
    EXPECT_EQ(answer.rest->getLength(), 6u) << "however many have been read";
    const Batch last = next(answer.rest.in(), 2);
    EXPECT_EQ(last.numbers, numbers(9, 10));
    EXPECT_FALSE(last.isMore);
    EXPECT_TRUE(waitUntil([] { return count() == 0; }));
    EXPECT_TRUE(isClosed(answer.rest.in()));
}

TEST_F(TypedIterator, AnswersNoCallThatArrivesBeforeTheOrbHasDeactivatedIt) {
    using Batches = NS_KELPCORBA::ListBatches<globaldefs::NamingAttributesList_T>;
    auto* const made = new NameIterator(
        PortableServer::POA::_nil(),
        std::make_unique<Batches>(std::make_unique<NumberedNames>(3), Batches::Limits()));
    const PortableServer::ServantBase_var owner = made;
    NamingAttributesList_T_var names;
    EXPECT_EQ(made->getLength(), 3u);
    EXPECT_FALSE(made->next_n(3, names.out()));
    EXPECT_TRUE(isGone([&] { made->getLength(); }));
    EXPECT_TRUE(isGone([&] { made->next_n(1, names.out()); }));
    EXPECT_TRUE(isGone([&] { made->destroy(); }));
}

TEST_F(TypedIterator, GivesAllThroughTheIteratorForZero) {
    const Answer answer = list(3, 0);
    EXPECT_TRUE(answer.first.empty());
    ASSERT_FALSE(CORBA::is_nil(answer.rest.in()));
    EXPECT_EQ(answer.rest->getLength(), 3u);
    const Batch none = next(answer.rest.in(), 0);
    EXPECT_TRUE(none.numbers.empty());
    EXPECT_TRUE(none.isMore);
    EXPECT_EQ(next(answer.rest.in(), 4294967295u).numbers, numbers(1, 3));
}

TEST_F(TypedIterator, IsGoneWhenTheNmsDestroysIt) {
    const Answer answer = list(10, 1);
    answer.rest->destroy();
    EXPECT_TRUE(waitUntil([] { return count() == 0; }));
    EXPECT_TRUE(isClosed(answer.rest.in()));
    EXPECT_TRUE(isGone([&] { answer.rest->destroy(); }));
    EXPECT_TRUE(isGone([&] { next(answer.rest.in(), 1); }));
}

TEST_F(TypedIterator, IsGoneWithItsSession) {
    const Answer answer = list(10, 1);
    session_->endSession();
    EXPECT_TRUE(waitUntil([] { return count() == 0; }));
    EXPECT_TRUE(isClosed(answer.rest.in()));
}

TEST_F(TypedIterator, ReportsThatTheListCannotBeReadAndEnds) {
    expectOverAfter([] { throw std::runtime_error("the database is gone"); },
                    "the database is gone");
}

TEST_F(TypedIterator, ReportsTheSameForEveryException) {
    expectOverAfter([] { throw CORBA::PERSIST_STORE(); }, "PERSIST_STORE");
    expectOverAfter([] { throw globaldefs::ProcessingFailureException(); },
                    "ProcessingFailureException");
}

class TypedIteratorAhead : public TypedIterator {
  protected:
    /// Return a list whose second batch a worker is reading until the gate is opened.
    Answer readAheadToTheGate() {
        source_ = std::make_unique<NumberedNames>(10);
        source_->held = held_;
        source_->failsAt = 6;
        source_->fail = [this] { gate_.pass(); };
        const Answer answer = list(1);
        EXPECT_EQ(next(answer.rest.in(), 3).numbers, numbers(2, 4));
        EXPECT_TRUE(gate_.isReached());
        return answer;
    }
    bool isListGone() const { return held_.use_count() == 1; }

    Latch gate_;

  private:
    const std::shared_ptr<const int> held_ = std::make_shared<const int>(0);
    const ModuleWorkers workers_;
};

TEST_F(TypedIteratorAhead, EndsWithItsSessionWithoutWaitingForTheWorker) {
    const Answer answer = readAheadToTheGate();
    session_->endSession();
    EXPECT_TRUE(waitUntil([] { return count() == 0; }));
    EXPECT_TRUE(isClosed(answer.rest.in()));
    EXPECT_FALSE(isListGone()) << "the worker still reads it";
    gate_.open();
    EXPECT_TRUE(waitUntil([this] { return isListGone(); }));
    EXPECT_EQ(NS_KELPCORBA::ReadAheadPlace::taken(), 0);
}

TEST_F(TypedIteratorAhead, MayBeDestroyedWhileTheWorkerReads) {
    const Answer answer = readAheadToTheGate();
    std::thread destroyer([&] {
        orb::setThreadTimeout(std::chrono::seconds(60));
        answer.rest->destroy();
    });
    gate_.open();
    destroyer.join();
    EXPECT_TRUE(isClosed(answer.rest.in()));
    EXPECT_TRUE(waitUntil([this] { return isListGone(); }));
}

TEST_F(TypedIterator, ServesCallsOneAfterTheOther) {
    const ModuleWorkers workers;
    constexpr CORBA::ULong kEntries = 20000;
    constexpr int kThreads = 4;
    const Answer answer = list(kEntries, 0);
    std::mutex mutex;
    std::vector<int> got;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([&] {
            orb::setThreadTimeout(std::chrono::seconds(60));
            isGone([&] {
                for (;;) {
                    const Batch batch = next(answer.rest.in(), 37);
                    const std::lock_guard guard(mutex);
                    got.insert(got.end(), batch.numbers.begin(), batch.numbers.end());
                    if (!batch.isMore)
                        return;
                }
            });
        });
    for (std::thread& each : threads)
        each.join();
    std::sort(got.begin(), got.end());
    EXPECT_EQ(got, numbers(1, kEntries)) << "each once";
    EXPECT_TRUE(waitUntil([] { return count() == 0; }));
}

class TypedIteratorLimits : public TypedIterator {
  protected:
    TypedIteratorLimits() : TypedIterator(AgentOptions().withIteratorLimits(2, 2)) {}
};

TEST_F(TypedIteratorLimits, AreReportedToTheManagersCaller) {
    const Answer first = list(3, 1);
    const Answer second = list(3, 1);
    EXPECT_FALSE(CORBA::is_nil(second.rest.in()));
    unsigned long code = 0;
    agent_.manager().onCall = [&] {
        NamingAttributesList_T_var names;
        code = refusalOf([&] {
            const NamingAttributesIterator_I_var none =
                NameIterator::give(std::make_unique<NumberedNames>(3), 1, names.out());
        });
    };
    list(0);
    EXPECT_EQ(code, kTooManyIterators);
    EXPECT_EQ(next(first.rest.in(), 5).numbers, numbers(2, 3)) << "open ones go on";
}

}  // namespace
}  // namespace kelp::test
