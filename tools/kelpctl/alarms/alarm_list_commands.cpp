#include <kelp/util/json_text.h>

#include <cstdio>
#include <memory>
#include <string>

#include "alarms/alarm_filter.h"
#include "alarms/alarm_group.h"
#include "alarms/alarm_table.h"

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr const char* kListFooter =
    R"(The alarms are in the order of their last events; "history" begins with the newest. Times are those that NMS get. A TIME of --since and --until is
UTC, such as 2025-03-01T12:00:00Z or shorter 2025-03-01, or a length of time before now: 90s, 15m, 2h, 7d.

Examples:
  kelpctl alarm list --severity critical,major --unacknowledged
  kelpctl alarm list --object ManagedElement=NE-1 --json
  kelpctl alarm history --since 2h)";

/// The options of a command that shows a list of the host.
struct AlarmListCommand {
    explicit AlarmListCommand(const GlobalOptions& globalOptions) : filter(globalOptions) {}

    void show(const char* path, AlarmTable kind) const {
        const AdminClient client = filter.alarms.client();
        const Json answer = readAlarmPages(client, path, filter.query(), filter.limit);
        if (asJson)
            std::printf("%s\n", util::jsonText(answer).c_str());
        else
            printAlarms(answer, kind);
    }

    AlarmFilter filter;
    bool asJson = false;
};

void addList(CLI::App& group, const GlobalOptions& globalOptions, const char* name,
             const char* description, const char* path, AlarmTable kind) {
    const auto list = std::make_shared<AlarmListCommand>(globalOptions);
    list->filter.isNewestFirst = kind == AlarmTable::History;
    CLI::App* command = group.add_subcommand(name, description);
    command->fallthrough()->footer(kListFooter);
    list->filter.addTo(*command);
    command->add_flag("--json", list->asJson, "Print one JSON object with all fields");
    command->callback([list, path, kind] { list->show(path, kind); });
}

struct AlarmShowCommand {
    explicit AlarmShowCommand(const GlobalOptions& globalOptions) : options(globalOptions) {}

    AlarmOptions options;
    std::uint64_t id = 0;
    bool asJson = false;
};

void addShow(CLI::App& group, const GlobalOptions& globalOptions) {
    const auto show = std::make_shared<AlarmShowCommand>(globalOptions);
    CLI::App* command = group.add_subcommand("show", "Show all fields of an alarm, also when over");
    command->fallthrough();
    show->options.addSocket(*command);
    command->add_option("id", show->id, "Notification id of its last event, or of its end")
        ->required()
        ->type_name("ID");
    command->add_flag("--json", show->asJson, "Print one JSON object");
    command->callback([show] {
        const Json answer = show->options.client().get("/alarms/" + std::to_string(show->id));
        if (show->asJson)
            std::printf("%s\n", util::jsonText(answer).c_str());
        else
            printAlarm(answer);
    });
}

}  // namespace

void addAlarmListCommands(CLI::App& group, const GlobalOptions& options) {
    addList(group, options, "list", "List the active alarms", "/alarms", AlarmTable::Active);
    addList(group, options, "history", "List the alarms that are over", "/alarms/history",
            AlarmTable::History);
    addShow(group, options);
}

}  // namespace kelp::ctl
