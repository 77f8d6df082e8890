#include "receiver_fixture.h"

namespace {

using namespace kelp::test;
using kelp::alarms::Severity;
using kelp::traps::Submission;
using testing::IsEmpty;
using testing::Ne;
using testing::SizeIs;

using Traps = SnmpTest;

TEST_F(Traps, RaiseAndClearAnAlarm) {
    start();
    EXPECT_EQ(runToEnd(tool(SNMPTRAP, version2c(), linkDown())), 0);
    ASSERT_TRUE(waitForStored(1));
    EXPECT_EQ(runToEnd(tool(SNMPTRAP, version2c(),
                            {"1.3.6.1.6.3.1.1.5.4", "1.3.6.1.2.1.2.2.1.1.4", "i", "4"})),
              0);
    ASSERT_TRUE(waitForStored(2));
    const std::vector<Submission> stored = store_.stored();
    EXPECT_EQ(stored[0].alarm.perceivedSeverity, Severity::Major);
    EXPECT_EQ(stored[1].alarm.perceivedSeverity, Severity::Cleared);
    EXPECT_EQ(stored[0].alarm.objectName.at(1).second, "127.0.0.1");
    EXPECT_EQ(stored[0].alarm.objectName.at(2).second, "/port=4");
    EXPECT_EQ(stored[0].alarm.objectName, stored[1].alarm.objectName);
    EXPECT_EQ(stored[0].key, "");
}

TEST_F(Traps, AcknowledgeAnInformWhenItsAlarmIsStored) {
    start();
    store_.hold();
    std::vector<std::string> patient = version2c();
    patient[5] = "20";
    ChildProcess inform(tool(SNMPINFORM, patient, linkDown()));
    ASSERT_TRUE(eventually([&] { return store_.calls() == 1; }));
    EXPECT_TRUE(inform.isRunning());
    EXPECT_EQ(countOf("acknowledged"), 0u);
    store_.release();
    EXPECT_EQ(inform.waitExit(), 0);
    EXPECT_THAT(store_.stored(), SizeIs(1));
    EXPECT_THAT(store_.stored().at(0).key, Ne(""));
}

TEST_F(Traps, LeaveARefusedInformToItsSenderToRepeat) {
    start();
    store_.refuse(1);
    EXPECT_EQ(runToEnd(tool(SNMPINFORM, version2c(), linkDown())), 1);
    EXPECT_EQ(countOf("notStored"), 1u);
    EXPECT_EQ(countOf("acknowledged"), 0u);
    store_.refuse(1);
    std::vector<std::string> repeating = version2c();
    repeating[7] = "5";
    EXPECT_EQ(runToEnd(tool(SNMPINFORM, repeating, linkDown())), 0);
    EXPECT_THAT(store_.stored(), SizeIs(1));
    const std::vector<std::string> keys = store_.seenKeys();
    ASSERT_THAT(keys, SizeIs(3));
    EXPECT_NE(keys[0], keys[1]);
    EXPECT_EQ(keys[1], keys[2]);
}

TEST_F(Traps, OfVersion3AreAcceptedFromTheUsersEngine) {
    start();
    std::vector<std::string> arguments = version3();
    arguments.insert(arguments.end(), {"-e", kEngine});
    EXPECT_EQ(runToEnd(tool(SNMPTRAP, arguments, linkDown())), 0);
    ASSERT_TRUE(waitForStored(1));
    arguments.back() = "80001f8805aabbccddee";
    EXPECT_EQ(runToEnd(tool(SNMPTRAP, arguments, linkDown())), 0);
    EXPECT_TRUE(waitForCount("unknownEngine", 1));
    EXPECT_EQ(store_.stored().size(), 1u);
}

TEST_F(Traps, OfVersion3AreRefusedWhenTheyAreFromBeforeTheSendersRestart) {
    start();
    std::vector<std::string> arguments = version3();
    arguments.insert(arguments.end(), {"-e", kEngine, "-Z", "5,1000"});
    EXPECT_EQ(runToEnd(tool(SNMPTRAP, arguments, linkDown())), 0);
    ASSERT_TRUE(waitForStored(1));
    arguments.back() = "4,1000";
    EXPECT_EQ(runToEnd(tool(SNMPTRAP, arguments, linkDown())), 0);
    EXPECT_TRUE(waitForCount("damaged", 1));
    EXPECT_EQ(store_.stored().size(), 1u);
}

TEST_F(Traps, OfVersion3CanBeInforms) {
    start();
    EXPECT_EQ(runToEnd(tool(SNMPINFORM, version3(), linkDown())), 0)
        << contentOf(folder_ / "output");
    EXPECT_THAT(store_.stored(), SizeIs(1));
    EXPECT_EQ(countOf("acknowledged"), 1u);
}

TEST_F(Traps, WithoutARuleAreIndeterminateAlarmsWithTheirContent) {
    start();
    EXPECT_EQ(runToEnd(tool(SNMPTRAP, version2c(),
                            {"1.3.6.1.4.1.32473.9", "1.3.6.1.4.1.32473.9.1", "s", "too warm"})),
              0);
    ASSERT_TRUE(waitForStored(1));
    const kelp::alarms::Alarm alarm = store_.stored().at(0).alarm;
    EXPECT_EQ(alarm.perceivedSeverity, Severity::Indeterminate);
    EXPECT_EQ(alarm.additionalText, "1.3.6.1.4.1.32473.9; 1.3.6.1.4.1.32473.9.1=too warm");
    EXPECT_EQ(countOf("unknown"), 1u);
}

TEST_F(Traps, WithoutARuleAreLimited) {
    settings_.unknownPerSource = {0, 2};
    start();
    for (int count = 0; count < 4; ++count)
        EXPECT_EQ(runToEnd(tool(SNMPTRAP, version2c(), {"1.3.6.1.4.1.32473.9"})), 0);
    ASSERT_TRUE(waitForCount("unknown", 4));
    EXPECT_TRUE(waitForCount("unknownDropped", 2));
    EXPECT_EQ(runToEnd(tool(SNMPINFORM, version2c(), linkDown())), 0);
    EXPECT_THAT(store_.stored(), SizeIs(3));
}

TEST_F(Traps, ThatWereReceivedAreStoredByAStop) {
    start();
    store_.hold();
    for (int count = 0; count < 3; ++count)
        EXPECT_EQ(runToEnd(tool(SNMPTRAP, version2c(), linkDown())), 0);
    ASSERT_TRUE(waitForCount("accepted", 3));
    store_.release();
    receiver_->stop();
    EXPECT_THAT(store_.stored(), SizeIs(3));
}

}  // namespace
