// Iterators of many sessions, and what remains of them when the sessions have ended.

#include <memory>
#include <vector>

#include "iterator_fixture.h"
#include "name_iterators.h"

namespace kelp::test {
namespace {

constexpr unsigned kSessions = 100;
constexpr unsigned kEach = 100;

class IteratorsOfManySessions : public IteratorFixture {
  protected:
    IteratorsOfManySessions()
        : IteratorFixture(
              AgentOptions().withIteratorLimits(kSessions * kEach, kSessions * kEach + 1)) {
        agent_.manager().onCall = [this] {
            auto source = std::make_unique<NumberedNames>(1000);
            source->held = lists_;
            NamingAttributesList_T_var first;
            rest_ = NameIterator::give(std::move(source), 1, first.out());
        };
    }

    struct Session {
        emsSession::EmsSession_I_var session;
        NamingAttributesIterator_I_var oneOfIts;  ///< called over a connection
    };
    Session openSession(unsigned number) {
        Session opened;
        opened.session = agent_.logIn(agent_.nms(number));
        const common::Common_I_var manager = agent_.remoteManager(opened.session.in());
        for (unsigned i = 0; i < kEach; ++i) {
            common::CapabilityList_T_var capabilities;
            manager->getCapabilities(capabilities.out());
        }
        opened.oneOfIts = agent_.overTheWire<NamingAttributesIterator_I>(rest_.in());
        rest_ = NamingAttributesIterator_I::_nil();
        return opened;
    }
    /// True if `many` iterators are open and no list of any other iterator exists.
    bool areOpen(std::size_t many) const {
        return count() == many && static_cast<std::size_t>(lists_.use_count()) == many + 1;
    }

  private:
    std::shared_ptr<const int> lists_ =
        std::make_shared<const int>(0);  ///< also held by every list
    NamingAttributesIterator_I_var rest_;
};

TEST_F(IteratorsOfManySessions, AreAllGoneHoweverTheirSessionsEnd) {
    std::vector<Session> sessions;
    for (unsigned number = 1; number <= kSessions; ++number)
        sessions.push_back(openSession(number));
    ASSERT_TRUE(waitUntil([&] { return areOpen(kSessions * kEach); }));
    for (const Session& each : sessions)
        EXPECT_EQ(each.oneOfIts->getLength(), 999u);

    constexpr unsigned kLoggedOut = 40, kLoggedInAgain = 40;
    for (unsigned i = 0; i < kLoggedOut; ++i)
        sessions[i].session->endSession();
    EXPECT_TRUE(waitUntil([&] { return areOpen((kSessions - kLoggedOut) * kEach); })) << count();
    for (unsigned i = kLoggedOut; i < kLoggedOut + kLoggedInAgain; ++i)
        agent_.logIn(agent_.nms(i + 1));
    constexpr unsigned kLeft = kSessions - kLoggedOut - kLoggedInAgain;
    EXPECT_TRUE(waitUntil([&] { return areOpen(kLeft * kEach); })) << count();
    for (unsigned i = 0; i < kSessions; ++i)
        EXPECT_EQ(isClosed(sessions[i].oneOfIts.in()), i < kSessions - kLeft) << "session " << i;

    agent_.requestExit();
    agent_.endSessions();
    EXPECT_TRUE(waitUntil([&] { return areOpen(0); })) << count();
}

}  // namespace
}  // namespace kelp::test
