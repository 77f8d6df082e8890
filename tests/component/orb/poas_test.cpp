#include <gtest/gtest.h>
#include <kelp/orb/counted_local.h>
#include <kelp/orb/poas.h>

#include <thread>
#include <vector>

#include "poa_maker.h"
#include "session_object.h"
#include "support/latch.h"
#include "support/wait_until.h"

namespace {

using namespace kelp::test;
using namespace std::chrono_literals;
using kelp::orb::beginDestroy;
using kelp::orb::isDying;
using kelp::orb::isNameDying;
using kelp::orb::waitUntilGone;
using PortableServer::POA;
using PortableServer::POA_var;

class Poas : public testing::Test {
  protected:
    POA_var make(const std::string& name) { return make(orb_.root(), name); }
    POA_var make(PortableServer::POA_ptr parent, const std::string& name) {
        return makePoa(parent, orb_.manager(), name);
    }

    RunningOrb orb_;
};

/// A call that stays inside a servant of a POA until it is released.
class CallInProgress {
  public:
    CallInProgress(const RunningOrb& orb, PortableServer::POA_ptr poa)
        : session_(orb, poa, [this] { gate_.pass(); }),
          caller_([this] { EXPECT_NO_THROW(session_.remote()->ping()); }) {
        EXPECT_TRUE(gate_.isReached());
    }
    ~CallInProgress() { end(); }

    void end() {
        gate_.open();
        if (caller_.joinable())
            caller_.join();
    }

  private:
    Latch gate_;
    SessionObject session_;
    std::thread caller_;
};

TEST_F(Poas, AreNotDyingWhileTheyLive) {
    const POA_var top = make("EMS<1>");
    const POA_var child = make(top.in(), "session");
    EXPECT_FALSE(isDying(orb_.root()));
    EXPECT_FALSE(isDying(top.in()));
    EXPECT_FALSE(isDying(child.in()));
}

TEST_F(Poas, DoNotExistWhenNil) {
    EXPECT_TRUE(isDying(POA::_nil()));
    EXPECT_EQ(kelp::orb::topPoaName(POA::_nil()), "");
    EXPECT_THROW(beginDestroy(POA::_nil()), CORBA::BAD_PARAM);
}

TEST_F(Poas, AreDyingWithAllTheirChildrenFromTheMomentDestructionBegins) {
    const POA_var top = make("EMS<1>");
    const POA_var child = make(top.in(), "session");
    const POA_var grandchild = make(child.in(), "iterator");
    CallInProgress call(orb_, grandchild.in());
    beginDestroy(top.in());
    EXPECT_TRUE(isDying(top.in()));
    EXPECT_TRUE(isDying(child.in()));
    EXPECT_TRUE(isDying(grandchild.in()));
}

TEST_F(Poas, StayDyingWhenANewPoaHasTheirName) {
    const POA_var old = make("EMS<1>");
    const POA_var oldChild = make(old.in(), "session");
    beginDestroy(old.in());
    ASSERT_TRUE(waitUntilGone("EMS<1>", 10s));
    EXPECT_TRUE(isDying(old.in()));
    const POA_var young = make("EMS<1>");
    EXPECT_FALSE(isDying(young.in()));
    EXPECT_TRUE(isDying(old.in()));
    EXPECT_TRUE(isDying(oldChild.in()));
}

TEST_F(Poas, HaveTheNameOfTheTopPoaAboveThem) {
    const POA_var top = make("EMS/1:nms<a>");
    const POA_var child = make(top.in(), "session");
    const POA_var grandchild = make(child.in(), "iterator");
    EXPECT_EQ(kelp::orb::topPoaName(orb_.root()), "");
    EXPECT_EQ(kelp::orb::topPoaName(top.in()), "EMS/1:nms<a>");
    EXPECT_EQ(kelp::orb::topPoaName(child.in()), "EMS/1:nms<a>");
    EXPECT_EQ(kelp::orb::topPoaName(grandchild.in()), "EMS/1:nms<a>");
    beginDestroy(top.in());
    ASSERT_TRUE(waitUntilGone("EMS/1:nms<a>", 10s));
    EXPECT_EQ(kelp::orb::topPoaName(grandchild.in()), "");
}

TEST_F(Poas, AreKnownByNameToTheCallThatRunsInThem) {
    const POA_var top = make("EMS<1>");
    const POA_var child = make(top.in(), "session");
    std::vector<std::string> names;
    const auto note = [&] { names.push_back(kelp::orb::currentTopPoaName(orb_.orb())); };
    SessionObject onRoot(orb_, note);
    SessionObject onChild(orb_, child.in(), [&] {
        note();
        onRoot.inProcess()->ping();
        note();
    });
    note();
    onChild.remote()->ping();
    onChild.inProcess()->ping();
    note();
    EXPECT_EQ(names,
              (std::vector<std::string>{"", "EMS<1>", "", "EMS<1>", "EMS<1>", "", "EMS<1>", ""}));
}

TEST_F(Poas, KeepTheirNameDyingUntilTheLastCallHasEnded) {
    const POA_var top = make("EMS<1>");
    CallInProgress call(orb_, top.in());
    EXPECT_FALSE(isNameDying("EMS<1>"));
    beginDestroy(top.in());
    EXPECT_TRUE(isNameDying("EMS<1>"));
    EXPECT_FALSE(waitUntilGone("EMS<1>", 60ms));
    call.end();
    EXPECT_TRUE(waitUntilGone("EMS<1>", 10s));
    EXPECT_FALSE(isNameDying("EMS<1>"));
}

TEST_F(Poas, KeepTheirNameDyingUntilTheLastCallOnAChildHasEnded) {
    const POA_var top = make("EMS<1>");
    const POA_var child = make(top.in(), "session");
    CallInProgress call(orb_, child.in());
    beginDestroy(top.in());
    EXPECT_FALSE(waitUntilGone("EMS<1>", 60ms));
    call.end();
    EXPECT_TRUE(waitUntilGone("EMS<1>", 10s));
}

/// Holds each etherealize at a gate, like an object that takes time to unlink itself.
class SlowActivator : public kelp::orb::CountedLocal<PortableServer::ServantActivator> {
  public:
    SlowActivator(Latch& gate, std::atomic<bool>& deleted) : gate_(gate), deleted_(deleted) {}
    PortableServer::Servant incarnate(const PortableServer::ObjectId&,
                                      PortableServer::POA_ptr) override {
        throw CORBA::OBJECT_NOT_EXIST();
    }
    void etherealize(const PortableServer::ObjectId&, PortableServer::POA_ptr,
                     PortableServer::Servant servant, CORBA::Boolean, CORBA::Boolean) override {
        gate_.pass();
        servant->_remove_ref();
    }

  protected:
    ~SlowActivator() override { deleted_ = true; }

  private:
    Latch& gate_;
    std::atomic<bool>& deleted_;
};

TEST_F(Poas, KeepTheirNameDyingUntilTheirObjectsAreEtherealized) {
    Latch gate;
    std::atomic<bool> deleted{false};
    POA_var top = makeActivatorPoa(orb_.root(), orb_.manager(), "EMS<1>");
    {
        const PortableServer::ServantActivator_var activator = new SlowActivator(gate, deleted);
        top->set_servant_manager(activator.in());
    }
    const SessionObject session(orb_, top.in());
    beginDestroy(top.in());
    EXPECT_TRUE(gate.isReached());
    EXPECT_TRUE(isNameDying("EMS<1>"));
    EXPECT_FALSE(waitUntilGone("EMS<1>", 60ms));
    EXPECT_FALSE(deleted);
    gate.open();
    EXPECT_TRUE(waitUntilGone("EMS<1>", 10s));
}

TEST_F(Poas, AreDestroyedAlthoughTheirNameIsRemembered) {
    Latch gate;
    gate.open();
    std::atomic<bool> deleted{false};
    POA_var top = makeActivatorPoa(orb_.root(), orb_.manager(), "EMS<1>");
    {
        const PortableServer::ServantActivator_var activator = new SlowActivator(gate, deleted);
        top->set_servant_manager(activator.in());
    }
    beginDestroy(top.in());
    top = POA::_nil();
    // nobody queries the name, but the servant manager is still destroyed with its POA
    EXPECT_TRUE(waitUntil([&] { return deleted.load(); }));
}

TEST_F(Poas, DoNotDelayPoasOfOtherNames) {
    const POA_var top = make("EMS<1>");
    CallInProgress call(orb_, top.in());
    beginDestroy(top.in());
    EXPECT_FALSE(isNameDying("EMS<2>"));
    EXPECT_FALSE(isNameDying("EMS<"));
    EXPECT_FALSE(isNameDying(""));
    const POA_var other = make("EMS<2>");
    EXPECT_TRUE(waitUntilGone("EMS<2>", 0ms));
    EXPECT_FALSE(isDying(other.in()));
}

TEST_F(Poas, MayBeMadeAgainUnderTheSameNameOnceTheyAreGone) {
    for (int round = 0; round < 20; ++round) {
        const POA_var top = make("EMS<1>");
        const POA_var child = make(top.in(), "session");
        SessionObject session(orb_, child.in());
        session.remote()->ping();
        EXPECT_FALSE(isNameDying("EMS<1>"));
        beginDestroy(top.in());
        ASSERT_TRUE(waitUntilGone("EMS<1>", 10s)) << round;
    }
}

TEST_F(Poas, OfANewLifeAreNotTakenForTheirDeadNamesakes) {
    for (int round = 0; round < 30; ++round) {
        // Nobody queries the name of the destroyed POA. The new POA may be created at its address.
        {
            const POA_var old = make("EMS<1>");
            beginDestroy(old.in());
        }
        const POA_var young = make("EMS<1>");
        EXPECT_FALSE(isNameDying("EMS<1>")) << round;
        EXPECT_FALSE(isDying(young.in()));
        beginDestroy(young.in());
        ASSERT_TRUE(waitUntilGone("EMS<1>", 10s));
    }
}

TEST_F(Poas, MayBeginToDieInsideACallOfTheirOwn) {
    const POA_var top = make("EMS<1>");
    bool dyingInside = false;
    bool nameDyingInside = false;
    SessionObject session(orb_, top.in(), [&] {
        beginDestroy(top.in());
        dyingInside = isDying(top.in());
        nameDyingInside = isNameDying("EMS<1>");
    });
    EXPECT_NO_THROW(session.remote()->ping());
    EXPECT_TRUE(dyingInside);
    EXPECT_TRUE(nameDyingInside);
    EXPECT_TRUE(waitUntilGone("EMS<1>", 10s));
}

TEST_F(Poas, BelowTheTopAreDestroyedWithoutOccupyingAName) {
    const POA_var top = make("EMS<1>");
    const POA_var child = make(top.in(), "session");
    CallInProgress call(orb_, child.in());
    beginDestroy(child.in());
    EXPECT_TRUE(isDying(child.in()));
    EXPECT_FALSE(isDying(top.in()));
    EXPECT_FALSE(isNameDying("session"));
    EXPECT_FALSE(isNameDying("EMS<1>"));
}

TEST_F(Poas, AnswerASecondDestructionWhileTheyAreDyingAndAfterwards) {
    const POA_var top = make("EMS<1>");
    {
        CallInProgress call(orb_, top.in());
        beginDestroy(top.in());
        EXPECT_NO_THROW(beginDestroy(top.in()));
        EXPECT_TRUE(isNameDying("EMS<1>"));
    }
    ASSERT_TRUE(waitUntilGone("EMS<1>", 10s));
    EXPECT_THROW(beginDestroy(top.in()), CORBA::OBJECT_NOT_EXIST);
    EXPECT_FALSE(isNameDying("EMS<1>"));
}

TEST_F(Poas, AreAllGoneWithTheOrb) {
    const POA_var top = make("EMS<1>");
    {
        CallInProgress call(orb_, top.in());
        beginDestroy(top.in());
        EXPECT_TRUE(isNameDying("EMS<1>"));
    }
    orb_.destroy();
    EXPECT_FALSE(isNameDying("EMS<1>"));
    EXPECT_TRUE(isDying(top.in()));
}

TEST_F(Poas, ComeAndGoInManyThreadsAtOnce) {
    std::atomic<int> rounds{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 6; ++i) {
        threads.emplace_back([&, i] {
            const std::string name = "EMS<" + std::to_string(i) + ">";
            for (int round = 0; round < 25; ++round) {
                const POA_var top = make(name);
                const POA_var child = make(top.in(), "session");
                EXPECT_FALSE(isDying(child.in()));
                EXPECT_FALSE(isNameDying(name));
                beginDestroy(top.in());
                EXPECT_TRUE(isDying(child.in()));
                (void)isNameDying("EMS<" + std::to_string((i + 1) % 6) + ">");
                if (waitUntilGone(name, 20s))
                    ++rounds;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(rounds, 150);
}

}  // namespace
