// The example of an adapter in a real host: from a file in its folder to an NMS.

#include <httplib.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <filesystem>
#include <sstream>

#include "system/kelpnms/kelpnms_fixture.h"

namespace kelp::test {
namespace {

namespace fs = std::filesystem;

class AlarmFolder : public KelpnmsTest {
  protected:
    AlarmFolder() {
        fs::create_directory(spool_);
        writeFile(host_.configFile().parent_path() / "alarm_folder.toml",
                  "folder = " + quoted(spool_.string()) + "\npoll_ms = 20\n");
        host_.set("notification", "heartbeat_s", 0);
        loadBundles(R"(["kelp_ems", "kelp_managedelement", "alarm_folder", "mx_kelpcorba_env"])");
    }
    void loadBundles(const std::string& list) { host_.set("bundles", "load", list); }

    static std::string line(const std::string& element, const std::string& severity = "PS_MAJOR") {
        return R"({"objectName":{"ManagedElement":")" + element +
               R"("},"probableCause":"EQPT","perceivedSeverity":")" + severity + "\"}\n";
    }
    /// Write a report file as its writers do: under another name, then renamed.
    void report(const std::string& name, const std::string& content) {
        writeFile(spool_ / (name + ".part"), content);
        fs::rename(spool_ / (name + ".part"), spool_ / (name + ".alarms"));
    }
    /// Wait until the adapter has read every report file.
    bool allRead() {
        return eventually([this] {
            for (const auto& each : fs::directory_iterator(spool_)) {
                if (each.path().extension() == ".alarms")
                    return false;
            }
            return true;
        });
    }
    bool isRefused(const std::string& name) {
        return fs::exists(fs::symlink_status(spool_ / "refused" / (name + ".alarms")));
    }
    ChildProcess follow(int count) {
        ChildProcess nms(launch({"--verbose", "--json", "events", "--filter",
                                 "$type_name == 'NT_ALARM'", "--count", std::to_string(count)}));
        EXPECT_TRUE(log_.waitFor("connected to the event channel")) << output();
        return nms;
    }
    /// The elements and severities of the alarms that the NMS has shown.
    std::vector<std::string> shown() {
        std::vector<std::string> all;
        std::istringstream lines(output());
        for (std::string text; std::getline(lines, text);) {
            if (!text.starts_with('{'))
                continue;
            const Json fields = Json::parse(text)["fields"];
            all.push_back(fields["objectName"]["ManagedElement"].get<std::string>() + " " +
                          fields["perceivedSeverity"].get<std::string>());
        }
        return all;
    }
    /// Ask the operator's interface.
    httplib::Client operatorsInterface() {
        httplib::Client client((host_.scratch("state") / "kelp/admin.sock").string());
        client.set_address_family(AF_UNIX);
        return client;
    }
    /// The adapter's counts.
    Json counts() {
        const auto answer = operatorsInterface().Get("/alarm-folder");
        return answer ? Json::parse(answer->body, nullptr, false) : Json();
    }
    /// Post the line as an alarm to the operator's interface.
    Json post(const std::string& text) {
        Json alarm = Json::parse(text);
        alarm["objectName"]["EMS"] = "Kelp/EMS";
        const auto answer = operatorsInterface().Post("/alarms", alarm.dump(), "application/json");
        return answer ? Json::parse(answer->body, nullptr, false) : Json();
    }
    /// What the list makes of a further report of this line: "repeated" if it has the alarm.
    std::string outcomeOf(const std::string& text) {
        return post(text).value("/outcomes/0"_json_pointer, "none");
    }
    std::uint64_t notificationIdOf(const std::string& text) {
        return std::stoull(post(text).value("firstNotificationId", "0"));
    }

    const fs::path spool_ = scratch_ / "spool";
};

TEST_F(AlarmFolder, BringsTheAlarmsOfAFileToTheNmsInOrder) {
    startHost();
    ChildProcess nms = follow(3);
    report("1", line("NE-1") + line("NE-2", "PS_CRITICAL"));
    ASSERT_TRUE(allRead());
    report("2", line("NE-1", "PS_CLEARED"));
    EXPECT_EQ(nms.waitExit(), 0) << output();
    EXPECT_EQ(shown(),
              (std::vector<std::string>{"NE-1 PS_MAJOR", "NE-2 PS_CRITICAL", "NE-1 PS_CLEARED"}));
    EXPECT_TRUE(allRead());
    EXPECT_EQ(counts()["reports"], 3);
    EXPECT_EQ(counts()["files"], 2);
    EXPECT_EQ(outcomeOf(line("NE-2", "PS_CRITICAL")), "repeated");
    EXPECT_EQ(outcomeOf(line("NE-1")), "raised") << "it was cleared";
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(AlarmFolder, SurvivesWhatABrokenWriterLeavesAndReportsTheRest) {
    startHost();
    ChildProcess nms = follow(3);
    report("1", "\xff\xfe\n" + line("NE-1") + "no JSON\n" + std::string(1 << 20, 'x') + "\n" +
                    std::string(5000, '[') + "\n" + line("NE-2") + line("NE-9").substr(0, 40));
    ASSERT_EQ(::mkfifo((spool_ / "2.alarms").c_str(), 0600), 0);
    fs::create_symlink("/etc/passwd", spool_ / "3.alarms");
    fs::create_directory(spool_ / "4.alarms");
    report("5", "");
    report("6", line("NE-3"));
    EXPECT_EQ(nms.waitExit(), 0) << output();
    EXPECT_EQ(shown(),
              (std::vector<std::string>{"NE-1 PS_MAJOR", "NE-2 PS_MAJOR", "NE-3 PS_MAJOR"}));
    EXPECT_TRUE(allRead());
    for (const char* const name : {"1", "2", "3", "4"})
        EXPECT_TRUE(isRefused(name)) << name;
    EXPECT_FALSE(isRefused("6"));
    EXPECT_TRUE(fs::exists("/etc/passwd"));
    EXPECT_EQ(counts()["refusedLines"], 5);
    EXPECT_TRUE(host_.log().waitFor("1.alarms:3: refused: the line is not a JSON object"));
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(AlarmFolder, KeepsAFloodInItsFolderUntilItIsAccepted) {
    constexpr int kFiles = 10;
    constexpr int kLines = 200;
    host_.set("alarms", "intake_backlog", 100);
    startHost();
    std::string bad;
    for (int i = 0; i < 2000; ++i)
        bad += "bad\n";
    report("000", bad);
    for (int file = 0; file < kFiles; ++file) {
        std::string content;
        for (int i = 0; i < kLines; ++i)
            content += line("NE-" + std::to_string(file) + "-" + std::to_string(i));
        report(std::to_string(100 + file), content);
    }
    ASSERT_TRUE(allRead());
    EXPECT_EQ(counts()["reports"], kFiles * kLines);
    EXPECT_EQ(counts()["refusedLines"], 2000);
    EXPECT_EQ(outcomeOf(line("NE-0-0")), "repeated");
    EXPECT_EQ(outcomeOf(line("NE-9-199")), "repeated");
    EXPECT_LT(host_.log().count("refused: the line is not a JSON object"), 100u)
        << "a flood of bad lines fills the trace";
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(AlarmFolder, ReportsNothingTwiceAfterTheSuddenDeathOfTheHost) {
    startHost();
    std::string content;
    for (int i = 0; i < 1000; ++i)
        content += line("NE-" + std::to_string(i)) + line("NE-" + std::to_string(i), "PS_CLEARED");
    const std::uint64_t before = notificationIdOf(line("before"));
    report("1", content);
    ASSERT_TRUE(eventually([&] { return counts()["reports"] > 0; }));
    host_.process().signal(SIGKILL);
    host_.process().waitExit();
    host_.start();
    ASSERT_TRUE(allRead());
    // each accepted report has a notification id, also one that sends no event
    EXPECT_EQ(notificationIdOf(line("after")) - before, 2'001u);
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(AlarmFolder, LeavesItsFilesToTheNextStartWhileThereIsNoList) {
    loadBundles(R"(["kelp_managedelement", "alarm_folder", "mx_kelpcorba_env"])");
    host_.addUser("demo");
    host_.start();
    report("1", line("NE-1"));
    EXPECT_TRUE(eventually([&] { return counts()["waits"] > 2; }));
    EXPECT_TRUE(fs::exists(spool_ / "1.alarms"));
    EXPECT_EQ(host_.stop(), 0);
    loadBundles(R"(["kelp_ems", "alarm_folder", "mx_kelpcorba_env"])");
    host_.start();
    EXPECT_TRUE(allRead());
    EXPECT_EQ(host_.stop(), 0);
}

TEST_F(AlarmFolder, DoesNotStartWithAWrongSetting) {
    writeFile(host_.configFile().parent_path() / "alarm_folder.toml", "folder = 'spool'\n");
    EXPECT_NE(host_.startToFail(), 0);
    EXPECT_TRUE(host_.log().contains("alarm_folder.toml:1: folder: must be an absolute path"));
}

}  // namespace
}  // namespace kelp::test
