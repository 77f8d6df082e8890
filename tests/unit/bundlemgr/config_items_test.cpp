#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/bundlemgr/config_store.h>

#include <string>

#include "support/trace_capture.h"

namespace {

using NS_BUNDLEMGR1::ConfigProblem;
using NS_BUNDLEMGR1::ConfigStore;
using NS_BUNDLEMGR1::CorbaConfigItems;

void loadAgentKeys(const std::string& agentKeys) {
    const auto problems = ConfigStore::instance().loadText("[agent]\n" + agentKeys, "kelp.toml");
    ASSERT_TRUE(problems.empty()) << problems.front().text();
}

TEST(ConfigItems, MissingKeyIsFalseAndLeavesTheValue) {
    int number = 17;
    std::string text = "before";
    const kelp::test::TraceCapture trace;
    EXPECT_FALSE(CorbaConfigItems::Instance()->GetIntItemInfo("Cachesize", number));
    EXPECT_FALSE(CorbaConfigItems::Instance()->GetStrItemInfo("MaxSupportNE", text));
    EXPECT_FALSE(CorbaConfigItems::Instance()->GetIntItemInfo("NoSuchOption", number));
    EXPECT_EQ(number, 17);
    EXPECT_EQ(text, "before");
    EXPECT_TRUE(trace.lines().empty()) << "a missing key is nothing to tell";
}

TEST(ConfigItems, NumbersAndTextsAreRead) {
    loadAgentKeys("Cachesize = -3\nbUseBTName = 2\nMaxSupportNE = \"2000\"\n");
    int number = 0;
    EXPECT_TRUE(CorbaConfigItems::Instance()->GetIntItemInfo("Cachesize", number));
    EXPECT_EQ(number, -3);
    EXPECT_TRUE(CorbaConfigItems::Instance()->GetIntItemInfo("bUseBTName", number));
    EXPECT_EQ(number, 2);
    std::string text;
    EXPECT_TRUE(CorbaConfigItems::Instance()->GetStrItemInfo("MaxSupportNE", text));
    EXPECT_EQ(text, "2000");
}

TEST(ConfigItems, WrongTypeCountsAsUnreadableAndIsTracedWithFileAndLine) {
    loadAgentKeys(
        "Cachesize = \"big\"\nbUseBTName = true\nMaxSupportNE = 2000\nFTP_Port = "
        "22.5\nEventlistsize = 7\n");
    const kelp::test::TraceCapture trace;
    int number = 17;
    std::string text = "before";
    EXPECT_FALSE(CorbaConfigItems::Instance()->GetIntItemInfo("Cachesize", number));
    EXPECT_FALSE(CorbaConfigItems::Instance()->GetIntItemInfo("bUseBTName", number));
    EXPECT_FALSE(CorbaConfigItems::Instance()->GetStrItemInfo("MaxSupportNE", text));
    EXPECT_FALSE(CorbaConfigItems::Instance()->GetIntItemInfo("FTP_Port", number));
    EXPECT_EQ(number, 17);
    EXPECT_EQ(text, "before");
    EXPECT_THAT(
        trace.lines(),
        testing::ElementsAre(
            "kelp.toml:2: agent.Cachesize: must be an integer of 32 bits, but is a text",
            "kelp.toml:3: agent.bUseBTName: must be an integer of 32 bits, but is a truth value",
            "kelp.toml:4: agent.MaxSupportNE: must be a text, but is an integer",
            "kelp.toml:5: agent.FTP_Port: must be an integer of 32 bits, but is a number "
            "with a fraction"));
    EXPECT_TRUE(CorbaConfigItems::Instance()->GetIntItemInfo("Eventlistsize", number))
        << "the rest is read";
    EXPECT_EQ(number, 7);
}

TEST(ConfigItems, NumberThatFitsNoIntIsUnreadable) {
    loadAgentKeys("Cachesize = 2147483648\nEventlistsize = -2147483648\n");
    const kelp::test::TraceCapture trace;
    int number = 17;
    EXPECT_FALSE(CorbaConfigItems::Instance()->GetIntItemInfo("Cachesize", number));
    EXPECT_EQ(number, 17);
    EXPECT_TRUE(
        trace.contains("agent.Cachesize: must be an integer of 32 bits, but is 2147483648"));
    EXPECT_TRUE(CorbaConfigItems::Instance()->GetIntItemInfo("Eventlistsize", number));
}

TEST(ConfigItems, StoreReportsTheProblemOfAnUnreadableValue) {
    loadAgentKeys("Cachesize = \"big\"\n");
    ConfigProblem problem;
    EXPECT_EQ(ConfigStore::instance().agentInteger("Cachesize", &problem), std::nullopt);
    EXPECT_EQ(problem.line, 2);
    EXPECT_EQ(problem.key, "agent.Cachesize");
    EXPECT_EQ(ConfigStore::instance().agentText("Cachesize"), "big");
}

TEST(ConfigItems, UnknownOptionRefusesTheFile) {
    EXPECT_FALSE(
        ConfigStore::instance().loadText("[agent]\nNoSuchOption = 1\n", "kelp.toml").empty());
}

}  // namespace
