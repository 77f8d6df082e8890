#include <cstdio>

#include "show_command.h"

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr const char* kFooter =
    R"(For each log it shows the number of records since the host started: taken = written + waiting + missing. A log
"fails" if the last attempt to write it failed. The waiting records are written as soon as writing works again.

Example:
  kelpctl health)";

void printLog(const char* name, const Json& log) {
    std::printf("%-14s %12llu %12llu %10llu %10llu  %s\n", name, log.value("taken", 0ULL),
                log.value("written", 0ULL), log.value("waiting", 0ULL), log.value("missing", 0ULL),
                log.value("fails", false) ? "fails" : "ok");
}

void printTable(const Json& health) {
    std::printf("kelpd %s: %s\n", health.value("version", "").c_str(),
                health.value("status", "").c_str());
    std::printf("%-14s %12s %12s %10s %10s  %s\n", "log", "taken", "written", "waiting", "missing",
                "state");
    printLog("operation log", health.value("operationLog", Json::object()));
    printLog("security log", health.value("securityLog", Json::object()));
}

}  // namespace

void addHealthCommand(CLI::App& app, const GlobalOptions& globalOptions) {
    addShowCommand(app, globalOptions,
                   {.name = "health",
                    .description = "Show whether the host answers and can write its logs",
                    .footer = kFooter,
                    .path = "/health",
                    .table = printTable});
}

}  // namespace kelp::ctl
