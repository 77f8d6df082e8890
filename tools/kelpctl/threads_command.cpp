#include <cstdio>
#include <string>

#include "show_command.h"

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr const char* kFooter =
    R"(Threads with the name of the process are the ORB's. A thread that works for the process alone and does not finish
within two minutes is stuck: kelpctl status reports it, and under systemd the watchdog restarts the host.

Example:
  kelpctl threads)";

std::string workOf(const Json& thread) {
    std::string work = thread.value("work", "");
    if (work.empty())
        return "-";
    if (const std::string detail = thread.value("detail", ""); !detail.empty())
        work += " for " + detail;
    return thread.value("stuck", false) ? "STUCK: " + work : work;
}

void printTable(const Json& answer) {
    std::printf("%8s  %-16s %-10s %12s %10s  %s\n", "id", "name", "state", "processor", "busy",
                "work");
    for (const Json& each : answer.value("threads", Json::array()))
        std::printf("%8d  %-16s %-10s %10.2f s %8.3f s  %s\n", each.value("id", 0),
                    each.value("name", "").c_str(), each.value("state", "").c_str(),
                    each.value("processorSeconds", 0.0), each.value("busySeconds", 0.0),
                    workOf(each).c_str());
}

}  // namespace

void addThreadsCommand(CLI::App& app, const GlobalOptions& globalOptions) {
    addShowCommand(app, globalOptions,
                   {.name = "threads",
                    .description = "Show the host's threads, and what they do",
                    .footer = kFooter,
                    .path = "/threads",
                    .table = printTable});
}

}  // namespace kelp::ctl
