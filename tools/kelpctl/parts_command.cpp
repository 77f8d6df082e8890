#include <cstdio>
#include <string>

#include "show_command.h"

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr const char* kFooter =
    R"(The parts are: alarms by severity, certificates, channel, disks, intake of alarms by source, inventory, iterators, logs
and managers. kelpctl status says which of them needs attention. Sessions, consumers, naming and threads have commands
of their own.

Examples:
  kelpctl parts
  kelpctl parts --json)";

std::string textOf(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

void printMembers(const Json& object, const std::string& indent);

void printMember(const std::string& name, const Json& value, const std::string& indent) {
    if (value.is_object()) {
        std::printf("%s%s:\n", indent.c_str(), name.c_str());
        printMembers(value, indent + "  ");
    } else if (value.is_array()) {
        for (const Json& each : value)
            printMember("-", each, indent);
    } else {
        std::printf("%s%-16s %s\n", indent.c_str(), name.c_str(), textOf(value).c_str());
    }
}

void printMembers(const Json& object, const std::string& indent) {
    for (const auto& [name, value] : object.items())
        printMember(name, value, indent);
}

void printTable(const Json& parts) {
    printMembers(parts, "");
}

}  // namespace

void addPartsCommand(CLI::App& app, const GlobalOptions& globalOptions) {
    addShowCommand(app, globalOptions,
                   {.name = "parts",
                    .description = "Show the state of the host's parts, such as disks and intake",
                    .footer = kFooter,
                    .path = "/parts",
                    .table = printTable});
}

}  // namespace kelp::ctl
