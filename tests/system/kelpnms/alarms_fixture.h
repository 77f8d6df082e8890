#pragma once

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "kelpnms_fixture.h"

namespace kelp::test {

/// kelpnms shows and acknowledges the alarms that kelpctl raises at a real host.
class AlarmsFixture : public KelpnmsTest {
  protected:
    AlarmsFixture() {
        host_.set("notification", "heartbeat_s", 0).set("ems", "name", quoted("Acme/North"));
    }

    static std::vector<std::string> identity(const std::string& element,
                                             const std::string& cause = "LOS") {
        return {"--object", "ManagedElement=" + element, "--probable-cause", cause};
    }
    void raise(const std::string& element, const std::string& severity,
               const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments = {"alarm", "raise", "--severity", severity};
        arguments.insert(arguments.end(), more.begin(), more.end());
        kelpctl(arguments, element);
    }
    void clear(const std::string& element) { kelpctl({"alarm", "clear"}, element); }

    /// The list that kelpnms alarms --once --json shows to a new NMS.
    Json activeAlarms(const std::vector<std::string>& filters = {}) {
        std::vector<std::string> arguments = {"--json", "alarms", "--once"};
        arguments.insert(arguments.end(), filters.begin(), filters.end());
        LogFile list(scratch_ / ("list" + std::to_string(++runs_)));
        EXPECT_EQ(runToEnd({KELPNMS, commandLine(arguments), {}, list.file(), false}), 0)
            << list.text();
        return Json::parse(list.text(), nullptr, false);
    }
    static std::string elementOf(const Json& alarm) {
        return alarm["objectName"].value("ManagedElement", "");
    }
    static std::vector<std::string> elementsOf(const Json& list) {
        std::vector<std::string> elements;
        for (const Json& alarm : list["alarms"])
            elements.push_back(elementOf(alarm));
        return elements;
    }

    /// The alarms by their elements, after all lines of a following kelpnms.
    using Followed = std::map<std::string, Json>;
    static Followed applied(const std::string& text) {
        Followed alarms;
        std::istringstream lines(text);
        for (std::string line; std::getline(lines, line);) {
            const Json json = Json::parse(line, nullptr, false);
            if (!json.is_object() || !json.contains("change"))
                continue;
            if (json["change"] == "cleared")
                alarms.erase(elementOf(json["alarm"]));
            else if (json["change"] != "message")
                alarms[elementOf(json["alarm"])] = json["alarm"];
        }
        return alarms;
    }
    static Followed followedFrom(const Json& list) {
        Followed alarms;
        for (const Json& alarm : list["alarms"])
            alarms[elementOf(alarm)] = alarm;
        return alarms;
    }

  private:
    void kelpctl(std::vector<std::string> arguments, const std::string& element) {
        for (const std::string& word : identity(element))
            arguments.push_back(word);
        arguments.insert(arguments.begin(), {"--config", host_.configFile().string()});
        LogFile log(scratch_ / ("kelpctl" + std::to_string(++runs_)));
        Launch launch = host_.launch(KELPCTL, arguments);
        launch.output = log.file();
        EXPECT_EQ(runToEnd(launch), 0) << log.text();
    }
};

}  // namespace kelp::test
