// The NMS in examples/nms against a real host: whatever happens, they end with the EMS's list.

#include <gtest/gtest.h>
#include <kelp/nms/client.h>
#include <kelp/nms/list_walk.h>
#include <mtnm/emsMgr.h>
#include <nlohmann/json.hpp>
#include <signal.h>
#include <sys/stat.h>

#include <fstream>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "harness/host.h"

namespace kelp::test {
namespace {

using Json = nlohmann::json;
/// Each alarm as one text.
using Alarms = std::set<std::string>;

constexpr const char* kSeverities[] = {"PS_INDETERMINATE", "PS_CRITICAL", "PS_MAJOR",
                                       "PS_MINOR",         "PS_WARNING",  "PS_CLEARED"};
constexpr const char* kAcknowledgements[] = {"AI_EVENT_ACKNOWLEDGED", "AI_EVENT_UNACKNOWLEDGED",
                                             "AI_NA"};

/// The Naming Service's URL of the session factory. Its id contains a slash.
std::string factoryUrl(std::uint16_t port) {
    return "corbaname::127.0.0.1:" + std::to_string(port) +
           "#TMF_MTNM.Class/Kelp.Vendor/Kelp%5c%2fEMS.EmsInstance/3_5.Version/"
           "Kelp%5c%2fEMS.EmsSessionFactory_I";
}

/// One of the examples.
struct Example {
    std::string language;
    std::string program;
    std::vector<std::string> orbOptions;
};

void PrintTo(const Example& example, std::ostream* out) {
    *out << example.language;
}

/// Return those that are built. Python and Java need an ORB that somebody has installed.
std::vector<Example> examples() {
    std::vector<Example> all = {{"Cpp", NMS_CPP, {"-ORBendPoint", "giop:tcp:127.0.0.1:"}}};
#ifdef NMS_PYTHON
    all.push_back({"Python", NMS_PYTHON, {}});
#endif
#ifdef NMS_JAVA
    all.push_back({"Java", NMS_JAVA, {}});
#endif
    return all;
}

std::string textOf(const CosNotification::StructuredEvent& event) {
    std::string id;
    std::string rest;
    const auto& data = event.filterable_data;
    for (CORBA::ULong i = 0; i < data.length(); ++i) {
        const std::string name = data[i].name.in();
        const CORBA::Any& value = data[i].value;
        const char* text = nullptr;
        const globaldefs::NamingAttributes_T* object = nullptr;
        notifications::PerceivedSeverity_T severity{};
        notifications::AcknowledgeIndication_T acknowledgement{};
        if (name == "notificationId" && (value >>= text))
            id = text;
        else if (name == "objectName" && (value >>= object))
            rest += std::string(" ") + (*object)[object->length() - 1].value.in();
        else if (name.starts_with("probableCause") && (value >>= text))
            rest += std::string(" ") + text;
        else if (name == "perceivedSeverity" && (value >>= severity))
            rest += std::string(" ") + kSeverities[severity];
        else if (name == "acknowledgeIndication" && (value >>= acknowledgement))
            rest += std::string(" ") + kAcknowledgements[acknowledgement];
    }
    return id + rest;
}

std::string textOf(const Json& alarm) {
    std::string text = std::to_string(alarm["id"].get<std::uint64_t>());
    text += " " + alarm["objectName"].back().back().get<std::string>();
    for (const char* const field :
         {"probableCause", "probableCauseQualifier", "perceivedSeverity", "acknowledgeIndication"})
        text += " " + alarm[field].get<std::string>();
    return text;
}

class NmsExamples : public testing::TestWithParam<Example> {
  protected:
    void SetUp() override {
        host.set("notification", "heartbeat_s", 1);
        for (const char* const user : {"example", "reader"})
            host.addUser(user);
    }

    void startHost() {
        host.start();
        EXPECT_TRUE(host.log().waitFor("kelpd is ready", ++starts)) << "the factory can be found";
    }
    void startExample(std::vector<std::string> options = {}) {
        std::vector<std::string> arguments = GetParam().orbOptions;
        arguments.insert(arguments.end(), {"--page", "50", "--ping", "1"});
        arguments.insert(arguments.end(), options.begin(), options.end());
        arguments.insert(arguments.end(),
                         {factoryUrl(host.namingPort()), "example", host.passwordFile().string()});
        Launch launch = host.launch(GetParam().program, arguments);
        launch.output = said.file();
        nms.emplace(launch);
    }
    void kelpctl(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {"--config", host.configFile().string()});
        ASSERT_EQ(runToEnd(host.launch(KELPCTL, arguments)), 0) << host.log().tail(5);
    }
    void raise(const std::string& element, const std::string& severity = "major") {
        kelpctl({"alarm", "raise", "--object", "ManagedElement=" + element, "--probable-cause",
                 "LOS", "--severity", severity});
    }
    void clear(const std::string& element) {
        kelpctl(
            {"alarm", "clear", "--object", "ManagedElement=" + element, "--probable-cause", "LOS"});
    }
    void storm(int count) {
        kelpctl({"storm", "--rate", "1000", "--count", std::to_string(count)});
    }
    void dieAndStartAgain() {
        host.process().kill();
        startHost();
    }

    /// The EMS's list, as an NMS reads it that has just logged in.
    Alarms listOfTheEms() {
        if (!reader) {
            nms::NmsSettings settings;
            settings.naming =
                "corbaloc:iiop:127.0.0.1:" + std::to_string(host.namingPort()) + "/NameService";
            reader.emplace(settings);
        }
        const auto session = reader->logIn(reader->findFactory(), "reader", Host::kPassword);
        const emsMgr::EMSMgr_I_var manager = session->managerAs<emsMgr::EMSMgr_I>("EMS");
        nms::ListWalk<notifications::EventList_T, notifications::EventIterator_I> walk("alarms",
                                                                                       1000);
        walk.open([&](CORBA::ULong most, auto& list, auto& rest) {
            manager->getAllEMSAndMEActiveAlarms({}, {}, most, list.out(), rest.out());
        });
        Alarms alarms;
        for (; walk.hasBatch(); walk.next()) {
            for (CORBA::ULong i = 0; i < walk.batch().length(); ++i)
                alarms.insert(textOf(walk.batch()[i]));
        }
        return alarms;
    }
    /// The list that the example has printed last. None before the first.
    std::optional<Alarms> listOfTheExample() {
        std::optional<Alarms> last;
        std::istringstream lines(said.text());
        for (std::string line; std::getline(lines, line);) {
            const Json shown = Json::parse(line, nullptr, false);
            if (shown.is_discarded())
                continue;
            last.emplace();
            for (const Json& alarm : shown["alarms"])
                last->insert(textOf(alarm));
        }
        return last;
    }
    bool showsAlarms(std::size_t count) {
        return eventually([&] {
            const std::optional<Alarms> shown = listOfTheExample();
            return shown && shown->size() == count;
        });
    }
    testing::AssertionResult isInStep(std::size_t count) {
        Alarms expected;
        // the first call after a restart of the host finds the old connection closed
        EXPECT_TRUE(eventually([&] {
            try {
                expected = listOfTheEms();
                return true;
            } catch (const nms::NmsError&) {
                return false;
            }
        }));
        if (expected.size() != count)
            return testing::AssertionFailure() << "the EMS has " << expected.size() << " alarms";
        if (eventually([&] { return listOfTheExample() == expected; }))
            return testing::AssertionSuccess();
        return testing::AssertionFailure() << said.tail(20);
    }

    Host host;
    LogFile said{host.scratch("said")};
    std::optional<nms::NmsClient> reader;
    std::optional<ChildProcess> nms;
    std::size_t starts = 0;
};

TEST_P(NmsExamples, EndsWithTheListOfTheEmsAfterItsSuddenDeath) {
    startHost();
    storm(120);
    startExample();
    ASSERT_TRUE(showsAlarms(120)) << said.tail(20);
    raise("A");
    raise("B");
    raise("C");
    raise("A", "minor");
    clear("B");
    EXPECT_TRUE(isInStep(122));

    dieAndStartAgain();
    clear("A");
    raise("D");
    EXPECT_TRUE(said.waitFor("in step after", 2)) << said.tail(20);
    raise("B", "warning");
    clear("C");
    EXPECT_TRUE(isInStep(122));
    EXPECT_TRUE(said.contains("out of step: "));
}

TEST_P(NmsExamples, ComesIntoStepDuringAStorm) {
    startHost();
    storm(300);
    Launch launch = host.launch(KELPCTL, {"--config", host.configFile().string(), "storm", "--rate",
                                          "300", "--count", "900", "--first", "301"});
    ChildProcess more(launch);
    startExample();
    EXPECT_EQ(more.waitExit(), 0);
    EXPECT_TRUE(isInStep(1200));
    EXPECT_EQ(said.count("in step after"), 1u)
        << "once, because nothing was lost: " << said.tail(20);
}

TEST_P(NmsExamples, StartsOverWhenTheEmsEndsTheSession) {
    startHost();
    raise("A");
    startExample();
    ASSERT_TRUE(showsAlarms(1)) << said.tail(20);
    EXPECT_EQ(host.stop(), 0);
    EXPECT_TRUE(said.waitFor("out of step: ")) << said.tail(20);
    startHost();
    raise("B");
    EXPECT_TRUE(isInStep(2));
}

TEST_P(NmsExamples, ReadsAgainWhenEventsWereLost) {
    const std::string fifo = host.scratch("loss").string();
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    host.setEnvironment("KELP_TEST_EVENT_LOSS", fifo).addBundle("event_loss_switch");
    startHost();
    raise("A");
    startExample();
    ASSERT_TRUE(said.waitFor("in step after reading 1 alarms")) << said.tail(20);
    std::ofstream(fifo, std::ios::app) << "occurred 20240105030405.0Z 4711" << std::endl;
    EXPECT_TRUE(said.waitFor("events are lost since 20240105030405.0Z")) << said.tail(20);
    std::ofstream(fifo, std::ios::app) << "cleared 20240105030500.0Z" << std::endl;
    EXPECT_TRUE(said.waitFor("in step after", 2)) << said.tail(20);
    EXPECT_TRUE(isInStep(1));
    EXPECT_FALSE(said.contains("out of step: ")) << "the session lives: " << said.tail(20);
}

TEST_P(NmsExamples, StartsOverWhenItHearsNothing) {
    host.set("notification", "heartbeat_s", 0);
    startHost();
    startExample({"--silence", "2"});
    EXPECT_TRUE(said.waitFor("out of step: neither an event nor a heartbeat")) << said.tail(20);
    EXPECT_TRUE(said.waitFor("in step after", 2)) << said.tail(20);
}

TEST_P(NmsExamples, LogsOutAtItsEnd) {
    startHost();
    startExample();
    ASSERT_TRUE(said.waitFor("in step after")) << said.tail(20);
    nms->signal(SIGTERM);
    EXPECT_EQ(nms->waitExit(), 0) << said.tail(20);
    EXPECT_TRUE(host.log().waitFor("has been destroyed!"));
}

INSTANTIATE_TEST_SUITE_P(Languages, NmsExamples, testing::ValuesIn(examples()),
                         [](const auto& example) { return example.param.language; });

}  // namespace
}  // namespace kelp::test
