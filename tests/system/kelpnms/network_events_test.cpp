// Changes of the network reach NMS as events: imports, labels, and what was left when the host was
// killed.

#include <SQLiteCpp/SQLiteCpp.h>
#include <signal.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "harness/nms_process.h"
#include "network_fixture.h"

namespace kelp::test {
namespace {

class KelpnmsNetworkEvents : public KelpnmsNetworkTest {
  protected:
    KelpnmsNetworkEvents() { host_.set("notification", "heartbeat_s", 0); }

    void import(const std::string& lines, const std::vector<std::string>& options = {}) {
        const std::filesystem::path file = scratch_ / "change.jsonl";
        std::ofstream(file) << lines;
        std::vector<std::string> arguments = {"import", file.string()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        inventory(arguments);
    }
    static std::string elements(int count) {
        std::string lines;
        for (int i = 0; i < count; ++i)
            lines += R"({"object":"ManagedElement","productName":"P","ManagedElement":"NE-)" +
                     std::to_string(i) + "\"}\n";
        return lines;
    }
    /// The changes of the network in the host's change log.
    int logged() {
        SQLite::Database log((host_.scratch("state") / "kelp" / "changes.db").string());
        return log
            .execAndGet("SELECT count(*) FROM record WHERE CAST(key AS TEXT) LIKE 'inventory/%'")
            .getInt();
    }
    int waiting() {
        SQLite::Database file((host_.scratch("state") / "kelp" / "inventory.db").string());
        return file.execAndGet("SELECT count(*) FROM change_outbox").getInt();
    }
    bool allAreLogged() {
        return eventually([&] { return waiting() == 0; });
    }
    /// Run kelpnms events until a test ends it.
    Launch watching() { return launch({"--json", "--verbose", "events"}); }
    bool isWatching() { return log_.waitFor("connected to the event channel"); }
    /// The events that were shown about an object, named by the last component of its name.
    std::vector<Json> eventsAbout(const std::string& object) {
        std::vector<Json> events;
        for (const std::string& line : linesOf(output())) {
            const Json json = Json::parse(line, nullptr, false);
            if (!json.is_object() || !json.contains("fields"))
                continue;
            const Json& name = json["fields"]["objectName"];
            if (!name.empty() && std::prev(name.end()).value() == object)
                events.push_back(json);
        }
        return events;
    }
    /// The lists of names and values in `json` in the order of the names: they are sets.
    static void sortLists(Json& json) {
        if (!json.is_structured())
            return;
        for (Json& each : json)
            sortLists(each);
        if (json.is_array() && !json.empty() && json[0].contains("name"))
            std::sort(json.begin(), json.end(), [](const Json& one, const Json& other) {
                return one["name"].dump() < other["name"].dump();
            });
    }
    static std::vector<std::string> entriesIn(const std::filesystem::path& dump) {
        std::vector<std::string> entries;
        for (const std::string& line : linesOf(contentOf(dump))) {
            Json entry = Json::parse(line);
            sortLists(entry);
            entries.push_back(entry.dump());
        }
        std::sort(entries.begin(), entries.end());
        return entries;
    }
    bool areAbout(const std::string& object, std::size_t count) {
        return eventually([&] {
            log_.text();
            return eventsAbout(object).size() >= count;
        });
    }
};

TEST_F(KelpnmsNetworkEvents, ImportIsSeenByDifference) {
    startHost();
    import(elements(20));
    ASSERT_TRUE(allAreLogged());
    ChildProcess nms(watching());
    ASSERT_TRUE(isWatching()) << output();
    std::string next = elements(19);
    next += R"({"object":"ManagedElement","productName":"P","ManagedElement":"NE-new"})"
            "\n";
    next.replace(next.find("\"NE-3\""), 6,
                 R"("NE-3","userLabel":"third","communicationState":"CS_UNAVAILABLE")");
    import(next, {"--replace"});
    ASSERT_TRUE(areAbout("NE-new", 1)) << output();
    ASSERT_TRUE(areAbout("NE-3", 2)) << output();
    ASSERT_TRUE(areAbout("NE-19", 1)) << output();
    EXPECT_EQ(eventsAbout("NE-new")[0]["type"], "NT_OBJECT_CREATION");
    EXPECT_EQ(eventsAbout("NE-19")[0]["type"], "NT_OBJECT_DELETION");
    std::map<std::string, Json> changes;
    for (const Json& event : eventsAbout("NE-3"))
        changes[event["type"]] = event["fields"]["attributeList"];
    EXPECT_EQ(changes["NT_ATTRIBUTE_VALUE_CHANGE"], Json::parse(R"({"userLabel": "third"})"));
    EXPECT_EQ(changes["NT_STATE_CHANGE"].size(), 1u);
    // what comes after everything else shows that nothing else came
    import(R"({"object":"ManagedElement","productName":"P","ManagedElement":"NE-last"})");
    ASSERT_TRUE(areAbout("NE-last", 1)) << output();
    EXPECT_EQ(log_.count("\"NT_"), 5u) << output();
    nms.signal(SIGTERM);
    EXPECT_EQ(nms.waitExit(), 0) << output();
}

TEST_F(KelpnmsNetworkEvents, NmsSeesTheLabelThatItHasSet) {
    startHost();
    ChildProcess nms(watching());
    ASSERT_TRUE(isWatching()) << output();
    NmsProcess setter(host_);
    setter.logIn(0, "demo");
    setter.follow(0);
    setter.ask("label 0 Harbour");
    EXPECT_TRUE(eventually([&] { return setter.followed(0).events == 1; }));
    ASSERT_TRUE(areAbout("Kelp/EMS", 1)) << output();
    const Json event = eventsAbout("Kelp/EMS")[0];
    EXPECT_EQ(event["type"], "NT_ATTRIBUTE_VALUE_CHANGE");
    EXPECT_EQ(event["fields"]["objectType"], "OT_EMS");
    EXPECT_EQ(event["fields"]["attributeList"], Json::parse(R"({"userLabel": "Harbour"})"));
    nms.signal(SIGTERM);
    EXPECT_EQ(nms.waitExit(), 0) << output();
}

TEST_F(KelpnmsNetworkEvents, EventsFollowAfterTheHostWasKilled) {
    constexpr int kElements = 60;
    host_.set("alarms", "network_event_rate", 10);
    startHost();
    import(elements(kElements));
    ASSERT_TRUE(eventually([&] { return logged() >= 5; }));
    host_.process().kill();
    EXPECT_LT(logged(), kElements);
    host_.start();
    ChildProcess nms(watching());
    ASSERT_TRUE(isWatching()) << output();
    ASSERT_TRUE(areAbout("NE-59", 1)) << output();
    EXPECT_EQ(eventsAbout("NE-59").size(), 1u);
    ASSERT_TRUE(allAreLogged());
    EXPECT_EQ(logged(), kElements) << "each once";
    nms.signal(SIGTERM);
    EXPECT_EQ(nms.waitExit(), 0) << output();
}

TEST_F(KelpnmsNetworkEvents, AlarmsPassALargeImport) {
    host_.set("alarms", "network_event_rate", 5);
    startHost();
    import(elements(200));
    ChildProcess nms(watching());
    ASSERT_TRUE(isWatching()) << output();
    EXPECT_EQ(runToEnd(host_.launch(KELPCTL, {"--config", host_.configFile().string(), "alarm",
                                              "raise", "--object", "ManagedElement=NE-1",
                                              "--severity", "major", "--probable-cause", "LOS"})),
              0);
    ASSERT_TRUE(log_.waitFor("\"NT_ALARM\"")) << output();
    EXPECT_GT(waiting(), 0) << "the import was over too soon to show anything";
    nms.signal(SIGTERM);
    EXPECT_EQ(nms.waitExit(), 0) << output();
}

TEST_F(KelpnmsNetworkEvents, FollowedDumpEqualsAFreshOne) {
    startHostWithSample();
    const std::filesystem::path file = scratch_ / "followed.jsonl";
    std::vector<std::string> differences;
    const auto equalsAFreshDump = [&] {
        const std::filesystem::path fresh = scratch_ / "fresh.jsonl";
        LogFile log(scratch_ / "fresh.log");
        EXPECT_EQ(runToEnd({KELPNMS, commandLine({"dump", fresh.string()}), {}, log.file(), false}),
                  0)
            << log.text();
        const std::vector<std::string> followed = entriesIn(file);
        const std::vector<std::string> expected = entriesIn(fresh);
        differences.clear();
        std::set_symmetric_difference(followed.begin(), followed.end(), expected.begin(),
                                      expected.end(), std::back_inserter(differences));
        return differences.empty();
    };
    ChildProcess nms(launch({"--timeout", "5", "dump", "--follow", file.string()}));
    ASSERT_TRUE(log_.waitFor("following the changes")) << output();
    import(elements(3) + R"({"object":"TerminationPoint","ManagedElement":"NE-1","PTP":"p1",)"
                         R"("transmissionParams":{"47":{"Trace":"x"}}})"
                         "\n");
    import(R"({"object":"ManagedElement","ManagedElement":"Southport","productName":"other",)"
           R"("communicationState":"CS_UNAVAILABLE","additionalInfo":{"a":"1","Manufacturer":"M"}})"
           "\n"
           R"({"object":"EMS","userLabel":"all of it"})");
    ASSERT_TRUE(allAreLogged());
    EXPECT_TRUE(eventually(equalsAFreshDump)) << testing::PrintToString(differences) << output();
    EXPECT_EQ(log_.count("following the changes"), 1u) << "the events alone did it: " << output();

    host_.process().kill();
    ASSERT_TRUE(log_.waitFor("the connection is lost")) << output();
    import(elements(2), {"--replace"});
    host_.start();
    ASSERT_TRUE(log_.waitFor("following the changes", 2)) << output();
    EXPECT_TRUE(eventually(equalsAFreshDump)) << testing::PrintToString(differences) << output();
    import(elements(3), {"--replace"});
    ASSERT_TRUE(allAreLogged());
    EXPECT_TRUE(eventually(equalsAFreshDump)) << testing::PrintToString(differences) << output();
    nms.signal(SIGTERM);
    EXPECT_EQ(nms.waitExit(), 0) << output();
}

}  // namespace
}  // namespace kelp::test
