// kelpnms ack against a real host.

#include <gtest/gtest.h>
#include <signal.h>

#include <fstream>

#include "alarms_fixture.h"

namespace kelp::test {
namespace {

class KelpnmsAck : public AlarmsFixture {
  protected:
    int ack(const std::vector<std::string>& arguments) {
        std::vector<std::string> all = {"--json", "ack"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        return run(all);
    }
    std::vector<std::string> unacknowledged() {
        return elementsOf(activeAlarms({"--unacknowledged"}));
    }
    using Elements = std::vector<std::string>;
};

TEST_F(KelpnmsAck, AlarmIsAcknowledgedByItsIdentityAndUnacknowledgedAgain) {
    startHost();
    raise("NE-1", "major");
    EXPECT_EQ(ack(identity("NE-1")), 0) << output();
    EXPECT_EQ(answer()["acknowledged"], 1);
    EXPECT_TRUE(unacknowledged().empty());
    std::vector<std::string> undo = identity("NE-1");
    undo.insert(undo.begin(), "--undo");
    EXPECT_EQ(ack(undo), 0) << output();
    EXPECT_EQ(answer()["unacknowledged"], 1);
    EXPECT_EQ(unacknowledged(), Elements{"NE-1"});
    EXPECT_TRUE(allSessionsGone());
}

TEST_F(KelpnmsAck, AlarmsAreAcknowledgedByTheIdsInTheList) {
    startHost();
    for (const char* const element : {"NE-1", "NE-2", "NE-3"})
        raise(element, "major");
    const Json list = activeAlarms();
    EXPECT_EQ(ack({"--id", list["alarms"][0]["notificationId"], list["alarms"][2]["notificationId"],
                   "--note", "ticket 17"}),
              0)
        << output();
    EXPECT_EQ(unacknowledged(), Elements{elementOf(list["alarms"][1])});
    // the acknowledgement is a change, so the alarm has another id
    EXPECT_EQ(ack({"--undo", "--id", list["alarms"][0]["notificationId"]}), 10) << output();
    EXPECT_EQ(answer()["unknownNotificationIds"][0], list["alarms"][0]["notificationId"]);
}

TEST_F(KelpnmsAck, AlarmsAreAcknowledgedFromAFileWithTheList) {
    startHost();
    raise("NE-1", "major");
    raise("NE-2", "warning");
    const std::string file = scratch_ / "alarms.json";
    std::ofstream(file) << activeAlarms({"--severity", "warning"}).dump();
    EXPECT_EQ(ack({"--from", file}), 0) << output();
    EXPECT_EQ(unacknowledged(), Elements{"NE-1"});
    std::ofstream(file) << "[{\"objectName\": \"NE-1\", \"probableCause\": \"LOS\"}]";
    EXPECT_EQ(ack({"--from", file}), 2);
    EXPECT_TRUE(log_.contains("alarms.json, alarm 1: its objectName ")) << output();
}

TEST_F(KelpnmsAck, AlarmThatIsNotActiveIsListedAsFailed) {
    startHost();
    raise("NE-1", "major");
    EXPECT_EQ(ack(identity("NE-2")), 10) << output();
    EXPECT_EQ(answer()["acknowledged"], 0);
    EXPECT_EQ(answer()["failed"][0], Json::parse(R"({
        "objectName": {"EMS": "Acme/North", "ManagedElement": "NE-2"},
        "layerRate": 1, "probableCause": "LOS", "probableCauseQualifier": ""})"));
    std::vector<std::string> words = identity("NE-2");
    words.insert(words.begin(), "ack");
    EXPECT_EQ(run(words), 10);
    EXPECT_TRUE(log_.contains("failed, no such active alarm: EMS=Acme/North, ManagedElement=NE-2"))
        << output();
    EXPECT_EQ(run({"ack"}), 2) << output();
    EXPECT_EQ(run({"ack", "--probable-cause", "LOS"}), 2) << output();
}

TEST_F(KelpnmsAck, FollowerSeesTheAcknowledgement) {
    startHost();
    raise("NE-1", "major");
    ChildProcess nms(launch({"--json", "alarms"}));
    LogFile followed = log_;
    ASSERT_TRUE(followed.waitFor("\"event\":\"resynchronised\"")) << followed.text();
    EXPECT_EQ(ack(identity("NE-1")), 0) << output();
    ASSERT_TRUE(followed.waitFor("\"change\":\"acknowledged\"")) << followed.text();
    std::vector<std::string> undo = identity("NE-1");
    undo.insert(undo.begin(), "--undo");
    EXPECT_EQ(ack(undo), 0) << output();
    ASSERT_TRUE(followed.waitFor("\"change\":\"unacknowledged\"")) << followed.text();
    nms.signal(SIGINT);
    EXPECT_EQ(nms.waitExit(), 0);
    EXPECT_EQ(applied(followed.text()), followedFrom(activeAlarms()));
}

}  // namespace
}  // namespace kelp::test
