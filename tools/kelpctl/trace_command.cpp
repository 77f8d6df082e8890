#include <kelp/oplog/log_search.h>
#include <kelp/oplog/log_settings.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "commands.h"
#include "log_table.h"
#include "moment.h"

namespace kelp::ctl {

namespace {

using oplog::LogEntry;
using oplog::LogKind;

constexpr const char* kFooter =
    R"(NMS is a user, or an address with or without a port. Each request of that NMS is shown once it has been answered,
with its outcome and duration, from now on. The requests come from the operation log, so the host does not work more
for it. For requests in the past use kelpctl oplog --user.

Examples:
  kelpctl trace nms1 --for 5m
  kelpctl trace 10.0.0.7 --json)";

/// The host writes records within a second.
constexpr std::chrono::milliseconds kPollInterval{500};
constexpr std::chrono::hours kLongest{24};

struct TraceOptions {
    explicit TraceOptions(const GlobalOptions& global) : globalOptions(global) {}

    const GlobalOptions& globalOptions;
    std::string nms{};
    std::string length = "5m";
    bool json = false;
};

std::chrono::seconds lengthGiven(const std::string& text) {
    const auto length = lengthOf(text);
    if (!length || *length <= std::chrono::seconds::zero() || *length > kLongest)
        throw std::runtime_error("--for: \"" + text +
                                 "\" is not a length of time up to 24h, such as 90s or 5m");
    return *length;
}

/// Whether the text is an IPv4 or IPv6 address, maybe with a port.
bool isAddress(const std::string& text) {
    return text.find_first_of(".:") != std::string::npos &&
           text.find_first_not_of("0123456789abcdefABCDEF.:[]") == std::string::npos;
}

oplog::LogQuery queryFor(const std::string& nms) {
    oplog::LogQuery query;
    (isAddress(nms) ? query.address : query.user) = nms;
    query.onlyNew = true;
    return query;
}

bool printLine(const std::string& line) {
    return std::printf("%s\n", line.c_str()) >= 0;
}

void follow(const TraceOptions& options) {
    const std::chrono::seconds length = lengthGiven(options.length);
    loadConfiguration(options.globalOptions);
    oplog::LogReader reader(oplog::configuredOperationLog().database, LogKind::Operations);
    oplog::LogQuery nothing;
    nothing.since = oplog::now() + kLongest;
    reader.search(nothing, [](const LogEntry&) { return false; });  // "new" means from here on
    const oplog::LogQuery query = queryFor(options.nms);
    if (!options.json)
        printLine(tableHeader(LogKind::Operations));
    const auto end = std::chrono::steady_clock::now() + length;
    bool isLast = false;
    while (!isLast) {
        const auto now = std::chrono::steady_clock::now();
        isLast = now >= end;
        reader.search(query, [&](const LogEntry& entry) {
            return printLine(options.json ? oplog::jsonOf(entry)
                                          : tableLine(entry, LogKind::Operations));
        });
        if (std::fflush(stdout) != 0)
            throw std::runtime_error("the output cannot be written");
        if (!isLast)
            std::this_thread::sleep_until(std::min(now + kPollInterval, end));
    }
}

}  // namespace

void addTraceCommand(CLI::App& app, const GlobalOptions& globalOptions) {
    const auto options = std::make_shared<TraceOptions>(globalOptions);
    CLI::App* command =
        app.add_subcommand("trace", "Show the requests of one NMS as they are answered");
    command->fallthrough()->footer(kFooter);
    command->add_option("NMS", options->nms, "User or address")->required();
    command->add_option("--for", options->length, "How long; default: 5m")->type_name("TIME");
    command->add_flag("--json", options->json, "Write one JSON object per line");
    command->callback([options] { follow(*options); });
}

}  // namespace kelp::ctl
