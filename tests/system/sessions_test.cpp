#include "harness/host.h"
#include "harness/nms_process.h"

#include <gmock/gmock.h>

#include <string>

namespace kelp::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Sessions : public ::testing::Test {
  protected:
    void SetUp() override {
        host.addUser("alice");
        host.addUser("bob");
    }

    Host host;
};

TEST_F(Sessions, NmsLogsInUsesAManagerIsPingedAndLeaves) {
    host.start();
    NmsProcess nms(host);
    nms.logIn(0, "alice");
    EXPECT_THAT(nms.managers(0), ElementsAre("EMS"));
    EXPECT_EQ(nms.emsLabel(0), "EMS");
    EXPECT_TRUE(eventually([&] { return nms.counts(0).pings >= 2; }));
    nms.end(0);
    EXPECT_TRUE(eventually([&] { return !nms.hasSession(0); }));
    EXPECT_EQ(nms.counts(0).ended, 0);
    EXPECT_EQ(host.stop(), 0);
    EXPECT_TRUE(eventually([&] { return host.processesLeft().empty(); }));
}

}  // namespace
}  // namespace kelp::test
