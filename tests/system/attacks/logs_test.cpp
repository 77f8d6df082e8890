// Attempts to fill the logs, or to push evidence out of them.

#include <filesystem>

#include "attacks/attacked_host.h"

namespace kelp::test {
namespace {

class LogAttacks : public AttackedHost {
  protected:
    void SetUp() override {
        host_.set("oplog", "database", quoted((host_.scratch("logs") / "oplog.db").string()));
        std::filesystem::create_directories(host_.scratch("logs"));
        startHost();
    }
    /// Return the number of operation log records of calls from an address.
    std::size_t recordsOf(const std::string& address) {
        const std::filesystem::path output = host_.scratch("oplog.txt");
        Launch launch = host_.launch(KELPCTL, {"--config", host_.configFile().string(), "oplog",
                                               "--json", "--address", address});
        launch.output = output;
        EXPECT_EQ(runToEnd(launch), 0);
        return LogFile(output).count("\n");
    }
};

TEST_F(LogAttacks, ACallerWithoutALogInWritesLittleIntoTheOperationLog) {
    attack("many_requests", {{"source", kAllowed}, {"count", "20000"}});
    EXPECT_TRUE(eventually([this] { return recordsOf(kAllowed) > 0; }));
    EXPECT_EQ(host_.stop(), 0);
    EXPECT_LT(recordsOf(kAllowed), 1000u);
}

TEST_F(LogAttacks, ProtocolErrorsWriteAFewLinesIntoTheTrace) {
    for (const char* const source : {kAllowed, kForeign}) {
        const std::size_t before = tracedLines();
        attack("protocol_errors", {{"source", source}, {"count", "2800"}});
        EXPECT_LT(tracedLines(), before + 300) << source;
    }
    expectUnharmed();
}

}  // namespace
}  // namespace kelp::test
