#include "app/alarms_command.h"

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "alarms/follow_alarms.h"
#include "app/seconds_option.h"
#include "screen/follow_on_screen.h"

namespace kelp::nms {

namespace {

constexpr const char* kAlarmsFooter =
    R"(kelpnms subscribes to the alarms, reads the list of active alarms, and merges both by notification id. It then
follows the changes until Ctrl-C. After a loss of the session, of the consumer or of events, and after a restart of the
EMS, it logs in again if necessary (first after 1 s; the pauses then double up to 30 s), reads the list again, and shows
what has changed meanwhile.

On a terminal, the list fills the screen (not with --once, --lines, --json or --verbose). Up, Down, PgUp, PgDn, Home
and End move the selection, a acknowledges the selected alarm, u takes that back, / searches in severity, object, cause,
qualifier and time (Enter keeps what was found, Escape shows all), Enter shows all fields of the selected alarm, q
leaves. The first line says whether the list is in step with the EMS.

Elsewhere, without --once, each change is one line. With --json, it is a JSON object:
  {"time": ..., "change": C, "alarm": {...}}
      C is "new", "changed", "acknowledged", "unacknowledged", "cleared", or "message" (an alarm that cannot be cleared
      and is never in the list). "alarm" has the fields of the event under the standard's names. The first list comes
      as "new" alarms. "cleared" with "clearSeen": false says that the alarm is no longer in the EMS's list, and that
      the event of the clear was missed; "alarm" is then its last state. Who applies all lines in their order has the
      EMS's list at each "resynchronised".
  {"time": ..., "event": E, ...}
      E is "resynchronised" (the list has been read; "alarms" is their number, "gone" that of the alarms which were no
      longer in it), "connectionLost", "reconnecting", "reconnectFailed", "reconnected", "eventLossOccurred",
      "eventLossCleared", "alarmLossOccurred", "alarmNotUsable" (an alarm without a proper notificationId or objectName)
      or "tooManyAlarms".

With --once --json, the output is one object: {"alarms": [...], "counts": {...}, "unacknowledged": N, "complete": B},
sorted by severity and then time, the newest first. "complete" is false, and the exit code 8, if there are more alarms
than --alarms-max.

Filters apply to the output alone; with several, an alarm must match all. A change is shown if the alarm matches before
or after it.)";

std::map<std::string, alarms::Severity> severitiesByName() {
    std::map<std::string, alarms::Severity> names;
    for (const alarms::Severity severity : kSeverityOrder)
        names.emplace(shortNameOf(severity), severity);
    return names;
}

/// The options whose values are converted after the parsing.
struct AlarmsWords {
    AlarmsOptions options;
    bool lines = false;
    std::vector<alarms::Severity> severities;
    std::vector<std::string> object;
};

void addFilters(CLI::App& command, AlarmsWords& words) {
    command
        .add_option("--severity", words.severities,
                    "Show only these: critical, major, minor, warning, indeterminate")
        ->transform(CLI::CheckedTransformer(severitiesByName()).description(""))
        ->type_name("SEVERITY");
    command
        .add_option("--object", words.object,
                    "Show only alarms of this object and of what it contains; the components of "
                    "its name, such as ManagedElement=NE-1 PTP=/rack=1")
        ->type_name("NAME=VALUE");
    command.add_flag("--unacknowledged", words.options.filter.onlyUnacknowledged,
                     "Show only alarms that are not acknowledged");
}

AlarmsOptions optionsFrom(const AlarmsWords& words) {
    AlarmsOptions options = words.options;
    options.filter.severities = {words.severities.begin(), words.severities.end()};
    try {
        options.filter.object = objectNameFrom(words.object);
    } catch (const std::invalid_argument& wrong) {
        throw CLI::ValidationError("--object", wrong.what());
    }
    return options;
}

}  // namespace

void addAlarmsCommand(CLI::App& app, SelectedCommand& selected) {
    const auto words = std::make_shared<AlarmsWords>();
    CLI::App* alarms = app.add_subcommand(
        "alarms", "Log in, show the active alarms, and follow them until Ctrl-C");
    alarms->add_flag("--once", words->options.once,
                     "Show the list once, when it has been read, and leave");
    alarms->add_flag("--lines", words->lines, "Write lines on a terminal too, not a screen");
    addFilters(*alarms, *words);
    addSecondsOption(*alarms, "--for", 0.1, words->options.duration,
                     "Leave after this number of seconds");
    alarms
        ->add_option("--alarms-max", words->options.view.alarmsMax,
                     "Maximum number of alarms that are kept")
        ->capture_default_str()
        ->check(CLI::Range(1u, 1000000000u));
    alarms->add_option("--batch", words->options.batch, "Number of alarms to request in each call")
        ->capture_default_str()
        ->check(CLI::Range(1u, 4294967295u));
    alarms->footer(kAlarmsFooter);
    alarms->callback([&selected, words] {
        selected = {true, [options = optionsFrom(*words),
                           lines = words->lines](const CommandContext& context) {
                        const bool isPlain = lines || options.once || context.options.json ||
                                             context.options.verbose;
                        return !isPlain && canShowScreen() ? followOnScreen(context, options)
                                                           : followAlarms(context, options);
                    }};
    });
}

}  // namespace kelp::nms
