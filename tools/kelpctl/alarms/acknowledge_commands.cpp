#include <kelp/util/json_text.h>
#include <pwd.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "alarms/alarm_group.h"
#include "alarms/alarm_options.h"

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr const char* kAcknowledgeFooter =
    R"(Alarms are given by the notification ids of their last events (kelpctl alarm list), or one by its object, cause,
qualifier and layer rate.

Examples:
  kelpctl alarm ack 1732350000000017 --note "on my way"
  kelpctl alarm unack --object ManagedElement=NE-1 PTP=/shelf=1/port=2 --probable-cause LOS

Exit status: 1 if one of the alarms is not active, or has another event meanwhile.)";

/// The name of the account that runs this program.
std::string operatorName() {
    const passwd* const account = ::getpwuid(::getuid());
    return account == nullptr ? std::to_string(::getuid()) : account->pw_name;
}

struct AcknowledgeCommand {
    AcknowledgeCommand(const GlobalOptions& globalOptions, bool isAcknowledgedNow)
        : options(globalOptions), isAcknowledged(isAcknowledgedNow) {}

    void addTo(CLI::App& command) {
        options.addSocket(command);
        CLI::Option* given =
            command.add_option("ids", ids, "Notification ids of the alarms' last events");
        given->type_name("ID");
        options.addObject(command);
        CLI::Option* object = command.get_option("--object")->excludes(given);
        CLI::Option* asked =
            command.add_option("--probable-cause", cause, "Probable cause of the alarm");
        asked->type_name("TEXT")->needs(object);
        object->needs(asked);
        command.add_option("--probable-cause-qualifier", qualifier, "Its qualifier")
            ->type_name("TEXT")
            ->needs(object);
        command.add_option("--layer-rate", layerRate, "Its layer rate; default: 1, not applicable")
            ->type_name("NUMBER")
            ->needs(object);
        command.add_option("--user", user, "Who does it; default: the account that runs kelpctl")
            ->type_name("NAME");
        command.add_option("--note", note, "Reason, for other operators")->type_name("TEXT");
        command.add_flag("--json", asJson, "Print kelpd's answer as JSON");
    }

    Json alarms() const {
        Json all = Json::array();
        for (const std::uint64_t each : ids)
            all.push_back(std::to_string(each));
        if (!options.object.empty())
            all.push_back({{"objectName", options.objectName()},
                           {"layerRate", layerRate},
                           {"probableCause", cause},
                           {"probableCauseQualifier", qualifier}});
        if (all.empty())
            throw std::runtime_error("give the ids of alarms, or --object and --probable-cause");
        return all;
    }

    void send() const {
        const AdminClient client = options.client();
        const Json answer =
            client.post("/alarms/acknowledgements", {{"alarms", alarms()},
                                                     {"user", user.empty() ? operatorName() : user},
                                                     {"notepad", note},
                                                     {"isAcknowledged", isAcknowledged}});
        if (asJson)
            std::printf("%s\n", util::jsonText(answer).c_str());
        else
            print(answer);
        checkAll(answer);
    }

    void print(const Json& answer) const {
        const Json& outcomes = answer.at("outcomes");
        for (std::size_t i = 0; i < outcomes.size(); ++i)
            std::printf("%s %s\n", i < ids.size() ? std::to_string(ids[i]).c_str() : "alarm",
                        outcomes[i].get<std::string>().c_str());
    }
    static void checkAll(const Json& answer) {
        std::size_t missing = 0;
        for (const Json& each : answer.at("outcomes"))
            missing += each == "not active" ? 1 : 0;
        if (missing > 0)
            throw std::runtime_error(std::to_string(missing) + " of " +
                                     std::to_string(answer.at("outcomes").size()) +
                                     " alarms not active, or changed meanwhile");
    }

    AlarmOptions options;
    const bool isAcknowledged;
    std::vector<std::uint64_t> ids;
    std::string cause;
    std::string qualifier;
    int layerRate = 1;
    std::string user;
    std::string note;
    bool asJson = false;
};

void addAcknowledge(CLI::App& group, const GlobalOptions& globalOptions, const char* name,
                    const char* description, bool isAcknowledged) {
    const auto acknowledge = std::make_shared<AcknowledgeCommand>(globalOptions, isAcknowledged);
    CLI::App* command = group.add_subcommand(name, description);
    command->fallthrough()->footer(kAcknowledgeFooter);
    acknowledge->addTo(*command);
    command->callback([acknowledge] { acknowledge->send(); });
}

}  // namespace

void addAcknowledgeCommands(CLI::App& group, const GlobalOptions& options) {
    addAcknowledge(group, options, "ack", "Acknowledge active alarms", true);
    addAcknowledge(group, options, "unack", "Take acknowledgements back", false);
}

}  // namespace kelp::ctl
