#include <cstdio>
#include <string>

#include "show_command.h"

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr const char* kFooter =
    R"("sent" counts the events that passed the consumer's filters: sent = delivered + lost + queued.
"own" counts those of the lost events that the consumer lost by a limit that it has set
(its time-out, or its shorter queue).

Example:
  kelpctl consumers)";

std::string stateOf(const Json& consumer) {
    if (!consumer.value("answers", true))
        return "silent: " + consumer.value("lastError", "");
    return consumer.value("suspended", false) ? "suspended" : "answers";
}

void printTable(const Json& answer) {
    std::printf("%-10s %12s %12s %12s %10s %10s %10s  %s\n", "consumer", "sent", "delivered",
                "lost", "own", "queued", "oldest", "state");
    for (const Json& each : answer.value("consumers", Json::array())) {
        const std::string name =
            std::to_string(each.value("admin", 0)) + "/" + std::to_string(each.value("proxy", 0));
        std::printf("%-10s %12llu %12llu %12llu %10llu %10llu %8.1f s  %s\n", name.c_str(),
                    each.value("sent", 0ULL), each.value("delivered", 0ULL),
                    each.value("lost", 0ULL), each.value("lostByOwnLimits", 0ULL),
                    each.value("queued", 0ULL),
                    static_cast<double>(each.value("oldestMs", 0LL)) / 1000, stateOf(each).c_str());
    }
}

}  // namespace

void addConsumersCommand(CLI::App& app, const GlobalOptions& globalOptions) {
    addShowCommand(
        app, globalOptions,
        {.name = "consumers",
         .description = "Show for each consumer how many events were delivered, lost and queued",
         .footer = kFooter,
         .path = "/consumers",
         .table = printTable});
}

}  // namespace kelp::ctl
