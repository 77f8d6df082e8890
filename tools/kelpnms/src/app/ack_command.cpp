#include "app/ack_command.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "alarms/ack_alarms.h"
#include "alarms/alarm_filter.h"

namespace kelp::nms {

namespace {

constexpr const char* kAckFooter =
    R"(Examples:
  kelpnms ... ack --object ManagedElement=NE-1 PTP=/shelf=1/port=2 --probable-cause LOS --layer-rate 20
  kelpnms ... ack --id 1795420529397257 1795420529397259 --note "ticket 4711"
  kelpnms ... --json alarms --once --severity warning | kelpnms ... ack --from -
  kelpnms ... ack --undo --from alarms.json

A notification id stands for the state of an alarm that "kelpnms alarms" shows: if the alarm has changed since then, it
has another one, and it is not acknowledged. That protects from acknowledging what nobody has seen. Alarms that are
acknowledged already are no failures. If the EMS could not acknowledge some alarms, they are listed, and the exit code
is 10.)";

/// The options whose values are converted after the parsing.
struct AckWords {
    AckOptions options;
    std::vector<alarms::Position> ids;
    std::vector<std::string> object;
    alarms::AlarmId identity;
    std::string file;
    bool undo = false;
};

AckOptions optionsFrom(const AckWords& words) {
    AckOptions options = words.options;
    options.notificationIds = {words.ids.begin(), words.ids.end()};
    options.what.isAcknowledged = !words.undo;
    try {
        if (!words.file.empty())
            options.alarms = identitiesIn(words.file);
        if (!words.object.empty()) {
            alarms::AlarmId id = words.identity;
            id.objectName = objectNameFrom(words.object);
            options.alarms.push_back(std::move(id));
        }
    } catch (const std::invalid_argument& wrong) {
        throw CLI::ValidationError("ack", wrong.what());
    }
    if (options.alarms.empty() && options.notificationIds.empty() && words.file.empty())
        throw CLI::RequiredError("--id, --object or --from");
    return options;
}

void addIdentity(CLI::App& command, AckWords& words) {
    auto* object = command
                       .add_option("--object", words.object,
                                   "The alarm's object: the components of its name, such as "
                                   "ManagedElement=NE-1 PTP=/rack=1; EMS may be left out")
                       ->type_name("NAME=VALUE");
    auto* cause =
        command.add_option("--probable-cause", words.identity.probableCause, "Its probable cause")
            ->needs(object);
    object->needs(cause);
    command
        .add_option("--qualifier", words.identity.probableCauseQualifier,
                    "Its probable cause qualifier; default: empty")
        ->needs(object);
    command.add_option("--layer-rate", words.identity.layerRate, "Its layer rate")
        ->capture_default_str()
        ->needs(object);
}

}  // namespace

void addAckCommand(CLI::App& app, SelectedCommand& selected) {
    const auto words = std::make_shared<AckWords>();
    CLI::App* ack = app.add_subcommand("ack", "Log in and acknowledge active alarms");
    ack->add_option("--id", words->ids, "Alarms by the notification ids that kelpnms alarms shows")
        ->type_name("ID");
    addIdentity(*ack, *words);
    ack->add_option("--from", words->file,
                    "File with alarms as JSON: one, an array, or what \"kelpnms --json alarms "
                    "--once\" writes; - is standard input");
    ack->add_flag("--undo", words->undo, "Take the acknowledgement back");
    ack->add_option("--as", words->options.what.operatorName,
                    "Name of the operator who acknowledges; default: the user who logs in");
    ack->add_option("--note", words->options.what.note, "A note for the EMS's operator");
    ack->footer(kAckFooter);
    ack->callback([&selected, words] {
        selected = {true, [options = optionsFrom(*words)](const CommandContext& context) {
                        return ackAlarms(context, options);
                    }};
    });
}

}  // namespace kelp::nms
