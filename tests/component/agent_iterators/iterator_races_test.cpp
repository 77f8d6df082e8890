// Batches are read while other calls close the oldest iterators, destroy iterators and end
// sessions.

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <mutex>
#include <vector>

#include "iterator_fixture.h"
#include "name_iterators.h"
#include "support/iterator_mixture.h"
#include "support/module_workers.h"

namespace kelp::test {
namespace {

constexpr int kSoftLimit = 6;
constexpr CORBA::ULong kRaceEntries = 60;
constexpr unsigned kRaceSessions = 3;
constexpr unsigned kSessionEnds = 40;

class IteratorRaces : public IteratorFixture {
  protected:
    IteratorRaces() : IteratorFixture(AgentOptions().withIteratorLimits(kSoftLimit, 1000)) {
        agent_.manager().onCall = [this] { give(); };
        for (unsigned i = 0; i < kRaceSessions; ++i)
            logIn(i);
    }

    void logIn(unsigned index) {
        sessions_[index] = agent_.logIn(agent_.nms(index + 1));
        const common::Common_I_var manager = agent_.remoteManager(sessions_[index].in());
        const std::lock_guard guard(mutex_);
        managers_[index] = manager;
    }
    std::shared_ptr<IteratorWalk> openSomewhere() {
        common::Common_I_var manager;
        {
            const std::lock_guard guard(mutex_);
            manager = managers_[++opened_ % kRaceSessions];
        }
        common::CapabilityList_T_var capabilities;
        manager->getCapabilities(capabilities.out());
        const std::lock_guard guard(mutex_);
        std::shared_ptr<IteratorWalk> walk = given_.front();
        given_.pop_front();
        return walk;
    }

    std::array<emsSession::EmsSession_I_var, kRaceSessions> sessions_;
    std::shared_ptr<const int> lists_ =
        std::make_shared<const int>(0);  ///< also held by every list

  private:
    const ModuleWorkers workers_;

    /// Create a list. Runs in every request on a manager.
    void give() {
        auto source = std::make_unique<NumberedNames>(kRaceEntries);
        source->held = lists_;
        NamingAttributesList_T_var first;
        const NamingAttributesIterator_I_var own =
            NameIterator::give(std::move(source), 1, first.out());
        const auto remote = agent_.overTheWire<NamingAttributesIterator_I>(own.in());
        std::vector<std::string> values;
        appendValues(first.in(), values);
        const std::lock_guard guard(mutex_);
        given_.push_back(std::make_shared<IteratorWalk>(remote.in(), values));
    }

    std::mutex mutex_;
    // this and the following are guarded by mutex_
    std::array<common::Common_I_var, kRaceSessions> managers_;
    std::deque<std::shared_ptr<IteratorWalk>> given_;
    unsigned opened_ = 0;
};

TEST_F(IteratorRaces, LoseNoEntryAndLeaveNothingOpen) {
    std::vector<std::string> all;
    for (CORBA::ULong i = 1; i <= kRaceEntries; ++i)
        all.push_back(std::to_string(i));
    std::size_t most = 0;
    {
        IteratorMixture mixture([this] { return openSomewhere(); });
        for (unsigned round = 0; round < kSessionEnds; ++round) {
            const int before = mixture.served();
            EXPECT_TRUE(waitUntil(
                [&] {
                    most = std::max(most, count());
                    return mixture.served() > before + 50;
                },
                std::chrono::seconds(60)));
            sessions_[round % kRaceSessions]->endSession();
            logIn(round % kRaceSessions);
        }
        EXPECT_EQ(mixture.stopAndCountGaps(all), 0);
        EXPECT_EQ(mixture.strange(), 0) << mixture.strangest();
        EXPECT_GT(mixture.closed(), 0);
    }
    EXPECT_LE(most, static_cast<std::size_t>(kSoftLimit) + 1);
    for (const emsSession::EmsSession_I_var& session : sessions_)
        session->endSession();
    EXPECT_TRUE(waitUntil([&] { return count() == 0 && lists_.use_count() == 1; }))
        << count() << " open, " << lists_.use_count() - 1 << " lists";
}

}  // namespace
}  // namespace kelp::test
