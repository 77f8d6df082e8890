// Batches that are read while iterators are closed as the oldest, destroyed, and go with their sessions.

#include <algorithm>
#include <array>
#include <atomic>
#include <map>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "iterator_fixture.h"
#include "name_iterators.h"

namespace kelp::test {
namespace {

constexpr int kSoftLimit = 6;
constexpr CORBA::ULong kEntries = 60;
constexpr unsigned kSessions = 3;
constexpr int kSessionEnds = 40;
/// More than are open, so that closed ones are called as well.
constexpr std::size_t kRemembered = 10;

/// What came through one iterator, over all threads.
class Walk {
  public:
    explicit Walk(NamingAttributesIterator_I_ptr iterator)
        : iterator_(NamingAttributesIterator_I::_duplicate(iterator)) {}

    NamingAttributesIterator_I_ptr iterator() const { return iterator_.in(); }
    void note(const std::vector<int>& numbers) {
        const std::lock_guard guard(mutex_);
        numbers_.insert(numbers_.end(), numbers.begin(), numbers.end());
    }
    /// From the first one on, each once.
    bool isWithoutGap() {
        const std::lock_guard guard(mutex_);
        std::sort(numbers_.begin(), numbers_.end());
        return numbers_ == numbers(2, static_cast<int>(numbers_.size()) + 1);
    }

  private:
    const NamingAttributesIterator_I_var iterator_;
    std::mutex mutex_;
    std::vector<int> numbers_;
};

class IteratorRaces : public IteratorFixture {
  protected:
    IteratorRaces() : IteratorFixture(AgentOptions().withIteratorLimits(kSoftLimit, 1000)) {
        agent_.manager().onCall = [this] { give(); };
        for (unsigned i = 0; i < kSessions; ++i)
            logIn(i);
    }

    void logIn(unsigned index) {
        const emsSession::EmsSession_I_var session = agent_.logIn(agent_.nms(index + 1));
        const common::Common_I_var manager = agent_.remoteManager(session.in());
        const std::lock_guard guard(mutex_);
        sessions_[index] = session;
        managers_[index] = manager;
    }
    /// Runs until `isOver`, and counts what is answered in no allowed way.
    template <class Step>
    void repeat(unsigned seed, Step step) {
        orb::setThreadTimeout(std::chrono::seconds(60));
        std::minstd_rand random(seed);
        while (!isOver_) {
            try {
                step(random);
                ++served_;
            } catch (const CORBA::OBJECT_NOT_EXIST&) {
                ++closed_;
            } catch (const CORBA::OBJ_ADAPTER&) {
                ++closed_;
            } catch (const CORBA::TRANSIENT&) {
                ++closed_;  // the POA is being destroyed
            } catch (const globaldefs::ProcessingFailureException& refusal) {
                // the session ended while it opened one
                strange_ += codeOf(refusal) == kNotActivated ? 0 : 1;
            } catch (const CORBA::Exception&) {
                ++strange_;
            }
        }
    }
    void openOneSomewhere(std::minstd_rand& random) {
        common::Common_I_var manager;
        {
            const std::lock_guard guard(mutex_);
            manager = managers_[random() % kSessions];
        }
        common::CapabilityList_T_var capabilities;
        manager->getCapabilities(capabilities.out());
    }
    std::shared_ptr<Walk> anyWalk(std::minstd_rand& random) {
        const std::lock_guard guard(mutex_);
        if (walks_.empty())
            return nullptr;
        const std::size_t among = std::min(walks_.size(), kRemembered);
        return walks_[walks_.size() - 1 - random() % among];
    }
    void readSome(std::minstd_rand& random) {
        if (const std::shared_ptr<Walk> walk = anyWalk(random))
            walk->note(next(walk->iterator(), static_cast<CORBA::ULong>(random() % 9)).numbers);
    }
    void destroyOne(std::minstd_rand& random) {
        if (const std::shared_ptr<Walk> walk = anyWalk(random); walk != nullptr && random() % 4 == 0)
            walk->iterator()->destroy();
    }
    void endAndRenew(unsigned index) {
        emsSession::EmsSession_I_var session;
        {
            const std::lock_guard guard(mutex_);
            session = sessions_[index];
        }
        session->endSession();
        logIn(index);
    }

    std::array<emsSession::EmsSession_I_var, kSessions> sessions_;  // this to walks_: guarded by mutex_
    std::array<common::Common_I_var, kSessions> managers_;
    std::vector<std::shared_ptr<Walk>> walks_;
    std::mutex mutex_;
    std::shared_ptr<const int> lists_ = std::make_shared<const int>(0);  ///< held by every list as well
    std::atomic<bool> isOver_{false};
    std::atomic<int> served_{0}, closed_{0}, strange_{0};

  private:
    /// In every request on a manager.
    void give() {
        auto source = std::make_unique<NumberedNames>(kEntries);
        source->held = lists_;
        NamingAttributesList_T_var first;
        const NamingAttributesIterator_I_var own = NameIterator::give(std::move(source), 1, first.out());
        const auto remote = agent_.overTheWire<NamingAttributesIterator_I>(own.in());
        const std::lock_guard guard(mutex_);
        walks_.push_back(std::make_shared<Walk>(remote.in()));
    }
};

TEST_F(IteratorRaces, LoseNoEntryAndLeaveNothingOpen) {
    std::vector<std::thread> threads;
    const auto start = [this, &threads](auto step) {
        threads.emplace_back(
            [this, step, seed = static_cast<unsigned>(threads.size()) + 1] { repeat(seed, step); });
    };
    start([this](std::minstd_rand& random) { openOneSomewhere(random); });
    start([this](std::minstd_rand& random) { openOneSomewhere(random); });
    for (int i = 0; i < 3; ++i)
        start([this](std::minstd_rand& random) { readSome(random); });
    start([this](std::minstd_rand& random) { destroyOne(random); });

    std::size_t most = 0;
    for (int round = 0; round < kSessionEnds; ++round) {
        const int before = served_;
        EXPECT_TRUE(waitUntil(
            [&] {
                most = std::max(most, count());
                return served_ > before + 50;
            },
            std::chrono::seconds(60)));
        endAndRenew(static_cast<unsigned>(round) % kSessions);
    }
    isOver_ = true;
    for (std::thread& each : threads)
        each.join();

    EXPECT_EQ(strange_, 0);
    EXPECT_GT(closed_, 0);
    EXPECT_LE(most, static_cast<std::size_t>(kSoftLimit) + 1);
    for (const std::shared_ptr<Walk>& walk : walks_)
        EXPECT_TRUE(walk->isWithoutGap());
    for (const emsSession::EmsSession_I_var& session : sessions_)
        session->endSession();
    EXPECT_TRUE(waitUntil([&] { return count() == 0 && lists_.use_count() == 1; }))
        << count() << " open, " << lists_.use_count() - 1 << " lists";
}

}  // namespace
}  // namespace kelp::test
