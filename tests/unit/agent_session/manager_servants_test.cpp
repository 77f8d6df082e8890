#include "session/manager_servants.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "support/test_manager.h"

namespace {

using namespace kelp::test;
using namespace NS_KELPCORBA;
using Manager = ServantRef<POA_common::Common_I>;

/// A manager that looks itself up while it is destroyed.
class CallingBack : public TestManager {
  public:
    CallingBack(std::atomic<int>& alive, ManagerServants& table)
        : TestManager(alive), table_(table) {}

  protected:
    ~CallingBack() override { table_.find("EMS"); }

  private:
    ManagerServants& table_;
};

class ManagerServantsTest : public testing::Test {
  protected:
    Manager make() { return Manager::take(new TestManager(alive_)); }

    std::atomic<int> alive_{0};
    ManagerServants table_;
};

TEST_F(ManagerServantsTest, FindsAServantByItsExactName) {
    const Manager ems = make();
    table_.replace("EMS", ems.get());
    EXPECT_EQ(table_.find("EMS"), ems.get());
    for (const char* name : {"ems", "EMS ", "EM", ""})
        EXPECT_EQ(table_.find(name), nullptr) << name;
    EXPECT_EQ(table_.find(std::string_view("EMS0", 3)), ems.get()) << "the view's end counts";
}

TEST_F(ManagerServantsTest, TakesOverTheFirstServantOfAName) {
    table_.add("EMS", make().release());
    POA_common::Common_I* const first = table_.find("EMS");
    ASSERT_NE(first, nullptr);
    table_.add("EMS", make().release());
    EXPECT_EQ(table_.find("EMS"), first);
    EXPECT_EQ(alive_, 1) << "the second one is released";
}

TEST_F(ManagerServantsTest, ReplacesAServantAndReleasesIt) {
    table_.add("EMS", make().release());
    const Manager next = make();
    table_.replace("EMS", next.get());
    EXPECT_EQ(table_.find("EMS"), next.get());
    EXPECT_EQ(next->_refcount_value(), 2u);
    EXPECT_EQ(alive_, 1);
    table_.replace("EMS", next.get());
    EXPECT_EQ(next->_refcount_value(), 2u) << "it may replace itself";
}

TEST_F(ManagerServantsTest, KeepsTheNameOfANullServant) {
    table_.replace("EMS", make().get());
    table_.replace("EMS", nullptr);
    EXPECT_EQ(alive_, 0);
    EXPECT_EQ(table_.find("EMS"), nullptr);
    EXPECT_FALSE(table_.pin("EMS"));
    table_.add("EMS", make().release());
    EXPECT_EQ(table_.find("EMS"), nullptr);
    EXPECT_EQ(alive_, 0);
}

TEST_F(ManagerServantsTest, PinsAServantBeyondItsRemoval) {
    table_.add("EMS", make().release());
    {
        const Manager pinned = table_.pin("EMS");
        ASSERT_TRUE(pinned);
        table_.clear();
        EXPECT_EQ(alive_, 1);
    }
    EXPECT_EQ(alive_, 0);
    EXPECT_FALSE(table_.pin("EMS"));
}

TEST_F(ManagerServantsTest, MayBeCalledByAServantThatItReleases) {
    table_.add("EMS", new CallingBack(alive_, table_));
    table_.add("EMS", new CallingBack(alive_, table_));
    table_.replace("EMS", make().get());
    table_.add("Equipment", new CallingBack(alive_, table_));
    table_.clear();
    EXPECT_EQ(alive_, 0);
}

TEST_F(ManagerServantsTest, PinsWhileOthersReplace) {
    table_.add("EMS", make().release());
    {
        std::jthread replacing([this] {
            for (int i = 0; i < 500; ++i)
                table_.replace("EMS", make().get());
        });
        for (int i = 0; i < 500; ++i) {
            const Manager pinned = table_.pin("EMS");
            ASSERT_TRUE(pinned);
            common::CapabilityList_T_var capabilities;
            pinned->getCapabilities(capabilities.out());
        }
    }
    EXPECT_EQ(alive_, 1);
    table_.clear();
    EXPECT_EQ(alive_, 0);
}

}  // namespace
