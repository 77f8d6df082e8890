#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "alarms/alarm_group.h"
#include "alarms/alarm_options.h"

namespace kelp::ctl {

namespace {

using admin::Json;

/// An option whose text becomes a field of the alarm.
struct TextField {
    const char* option;
    const char* field;
    const char* description;
};

/// Object, cause, qualifier and layer rate identify an alarm, so a clear has these options too.
constexpr TextField kIdentity[] = {
    {"--probable-cause", "probableCause", "Probable cause, such as LOS"},
    {"--probable-cause-qualifier", "probableCauseQualifier",
     "Distinguishes alarms of the same object and probable cause"},
};
constexpr TextField kMore[] = {
    {"--text", "additionalText", "Text for the operator"},
    {"--ne-time", "neTime", "Time at the network element, such as 20240105030405.0Z"},
    {"--native-name", "nativeEMSName",
     "Name of the object in the EMS; default: the value of the last component of --object"},
    {"--native-cause", "nativeProbableCause",
     "Cause as the network element names it; default: the probable cause"},
    {"--object-type", "objectType",
     "Type of the object, such as OT_EQUIPMENT; default: derived from the last component of "
     "--object"},
    {"--event-type", "X.733::EventType",
     "Type of alarm by X.733, such as equipmentAlarm; default: communicationsAlarm"},
};

const Words kServiceWords = {
    {"yes", "SA_SERVICE_AFFECTING"}, {"no", "SA_NON_SERVICE_AFFECTING"}, {"unknown", "SA_UNKNOWN"}};

constexpr const char* kFooter = R"(Examples:
  kelpctl alarm raise --object ManagedElement=NE-1 PTP=/shelf=1/port=2 --severity major --probable-cause LOS
  kelpctl alarm clear --object ManagedElement=NE-1 PTP=/shelf=1/port=2 --probable-cause LOS
  kelpctl alarm list --severity critical,major

To clear an alarm, give the same object, probable cause, qualifier and layer rate as when it was raised.)";

/// The options of one command, and the alarm that they describe.
class AlarmCommand {
  public:
    AlarmCommand(const GlobalOptions& globalOptions, const char* done)
        : options_(globalOptions), done_(done) {}

    void addIdentity(CLI::App& command) {
        options_.addSocket(command);
        options_.addObject(command);
        command.get_option("--object")->required();
        for (const TextField& field : kIdentity)
            addText(command, field);
        command.get_option("--probable-cause")->required();
        command
            .add_option_function<int>(
                "--layer-rate", [this](int rate) { alarm_["layerRate"] = rate; },
                "Layer rate; default: 1, not applicable")
            ->type_name("NUMBER");
    }
    void addMore(CLI::App& command) {
        for (const TextField& field : kMore)
            addText(command, field);
        addWordOption(command, "--service-affecting", kServiceWords, into("serviceAffecting"),
                      "Whether the alarm affects service");
        command.add_option("--info", info_, "Additional information")->type_name("NAME=VALUE");
    }
    void addSeverity(CLI::App& command) {
        addSeverityOption(command, into("perceivedSeverity"), "Severity")->required();
    }
    void addJson(CLI::App& command) {
        command.add_flag("--json", asJson_, "Print kelpd's answer as JSON");
    }

    void set(const char* field, const char* value) { alarm_[field] = value; }

    void send() {
        const AdminClient client = options_.client();
        alarm_["objectName"] = options_.objectName();
        if (!info_.empty())
            alarm_["additionalInfo"] = pairsOf(info_, "--info");
        const Json answer = client.post("/alarms", alarm_);
        if (asJson_)
            std::printf("%s\n", answer.dump().c_str());
        else
            std::printf("alarm %s, notification id %s\n", done_,
                        answer.value("firstNotificationId", "unknown").c_str());
    }

  private:
    void addText(CLI::App& command, const TextField& field) {
        command
            .add_option_function<std::string>(field.option, into(field.field), field.description)
            ->type_name("TEXT");
    }
    std::function<void(const std::string&)> into(const char* field) {
        return [this, field](const std::string& text) { alarm_[field] = text; };
    }

    AlarmOptions options_;
    const char* const done_;
    Json alarm_ = Json::object();
    std::vector<std::string> info_;
    bool asJson_ = false;
};

}  // namespace

void addAlarmCommands(CLI::App& app, const GlobalOptions& globalOptions) {
    CLI::App* group = app.add_subcommand(
        "alarm", "Raise, clear, list and acknowledge alarms of the running host");
    group->require_subcommand(1)->fallthrough()->footer(kFooter);

    const auto raise = std::make_shared<AlarmCommand>(globalOptions, "raised");
    CLI::App* raising = group->add_subcommand("raise", "Raise an alarm")->fallthrough();
    raise->addIdentity(*raising);
    raise->addSeverity(*raising);
    raise->addMore(*raising);
    raise->addJson(*raising);
    raising->callback([raise] { raise->send(); });

    const auto clear = std::make_shared<AlarmCommand>(globalOptions, "cleared");
    CLI::App* clearing = group->add_subcommand("clear", "Clear an alarm")->fallthrough();
    clear->addIdentity(*clearing);
    clear->addMore(*clearing);
    clear->addJson(*clearing);
    clearing->callback([clear] {
        clear->set("perceivedSeverity", "PS_CLEARED");
        clear->send();
    });
    addAlarmListCommands(*group, globalOptions);
    addAcknowledgeCommands(*group, globalOptions);
}

}  // namespace kelp::ctl
