#include <cstdio>
#include <string>

#include "show_command.h"

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr const char* kFooter =
    R"(The first line says how the host is, with the worst condition first. Each condition has a word, a severity, the time
since when it has lasted if that is known, and what to do.

Exit status: 0 all is well, or notices only; 10 warnings; 20 critical; 1 the host does not answer.

Example:
  kelpctl status)";

void printTable(const Json& status) {
    std::printf("%s: %s\n", status.value("severity", "").c_str(),
                status.value("summary", "").c_str());
    for (const Json& each : status.value("conditions", Json::array())) {
        const std::string since = each.value("since", "");
        std::printf("\n%-8s  %s\n          %s\n          %s\n", each.value("severity", "").c_str(),
                    (each.value("word", "") + (since.empty() ? "" : ", since " + since)).c_str(),
                    each.value("sentence", "").c_str(), each.value("advice", "").c_str());
    }
}

int exitStatusOf(const Json& status) {
    constexpr int kWarning = 10;
    constexpr int kCritical = 20;
    const std::string severity = status.value("severity", "");
    return severity == "critical" ? kCritical : severity == "warning" ? kWarning : 0;
}

}  // namespace

void addStatusCommand(CLI::App& app, const GlobalOptions& globalOptions) {
    addShowCommand(app, globalOptions,
                   {.name = "status",
                    .description = "Show what needs attention, the worst first",
                    .footer = kFooter,
                    .path = "/status",
                    .table = printTable,
                    .exitStatus = exitStatusOf});
}

}  // namespace kelp::ctl
