// From an element's inform to an NMS: the real snmpinform, kelpd with the bundle kelp_snmp, and
// kelpnms.

#include <signal.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "system/kelpnms/kelpnms_fixture.h"

namespace kelp::test {
namespace {

class TrapsInTheHost : public KelpnmsTest {
  protected:
    void SetUp() override {
        const std::filesystem::path communities = scratch_ / "communities";
        std::ofstream(communities) << "public\n";
        ASSERT_EQ(::chmod(communities.c_str(), 0600), 0);
        host_
            .set("bundles", "load",
                 R"(["kelp_ems", "kelp_managedelement", "kelp_snmp", "mx_kelpcorba_env"])")
            .set("notification", "heartbeat_s", 0)
            .set("snmp", "listen", "[" + quoted(traps_.hostAndPort()) + "]")
            .set("snmp", "sources", R"(["127.0.0.0/8"])")
            .set("snmp", "mappings", "[" + quoted(SHIPPED_MAPPINGS "/standard.toml") + "]")
            .set("snmp", "communities_file", quoted(communities.string()));
        startHost();
    }

    /// Send an inform about port 4. Return 0 if it was acknowledged.
    int inform(const std::string& trap) {
        const std::string folder = scratch_ / "snmp";
        return runToEnd({SNMPINFORM,
                         {"-v", "2c", "-c", "public", "-t", "5", "-r", "1", traps_.hostAndPort(),
                          "", trap, "1.3.6.1.2.1.2.2.1.1.4", "i", "4"},
                         {{"MIBS", ""}, {"SNMPCONFPATH", folder}, {"SNMP_PERSISTENT_DIR", folder}},
                         scratch_ / "snmpinform"});
    }
    /// Start an NMS that ends after `count` alarms.
    ChildProcess follow(int count) {
        ChildProcess nms(launch({"--verbose", "events", "--filter", "$type_name == 'NT_ALARM'",
                                 "--count", std::to_string(count)}));
        EXPECT_TRUE(log_.waitFor("connected to the event channel")) << output();
        return nms;
    }

    static constexpr const char* kLinkDown = "1.3.6.1.6.3.1.1.5.3";
    static constexpr const char* kLinkUp = "1.3.6.1.6.3.1.1.5.4";
    const PortLease traps_;
};

TEST_F(TrapsInTheHost, ReachTheNms) {
    ChildProcess nms = follow(2);
    EXPECT_EQ(inform(kLinkDown), 0);
    EXPECT_EQ(inform(kLinkUp), 0);
    EXPECT_EQ(nms.waitExit(), 0) << output();
    EXPECT_TRUE(log_.contains(" CLEARED ")) << output();
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(TrapsInTheHost, AreNotLostByItsSuddenDeathOnceAcknowledged) {
    EXPECT_EQ(inform(kLinkDown), 0);
    host_.process().signal(SIGKILL);
    host_.process().waitExit();
    host_.start();
    ChildProcess nms = follow(1);
    EXPECT_EQ(inform(kLinkUp), 0);
    EXPECT_EQ(nms.waitExit(), 0) << output();
    EXPECT_TRUE(log_.contains(" CLEARED ")) << "the alarm was not active: " << output();
}

}  // namespace
}  // namespace kelp::test
