#include "log_options.h"

#include <kelp/oplog/log_settings.h>

#include "moment.h"

namespace kelp::ctl {

void LogOptions::addTo(CLI::App& command, const std::string& operation,
                       const std::string& meaning) {
    command.add_option("--since", since, "Only records from this time on")->type_name("TIME");
    command.add_option("--until", until, "Only records before this time")->type_name("TIME");
    command.add_option("--user", texts.user, "User of the session or log-in")->type_name("NAME");
    command
        .add_option("--address", texts.address,
                    "Address of the NMS or of its connection; without PORT, any port matches")
        ->type_name("ADDRESS[:PORT]");
    command.add_option(operation, texts.operation, meaning)->type_name("NAME");
    command
        .add_option("--outcome", texts.outcome,
                    "\"ok\", the name of an error, or \"failed\" for all errors")
        ->type_name("NAME");
    command
        .add_option("--newest", texts.newest,
                    "Maximum number of records; the newest are shown; default: 200 in a table, no "
                    "limit otherwise")
        ->type_name("NUMBER")
        ->check(CLI::Range(std::uint64_t{1}, std::uint64_t{1'000'000'000}));
    command.add_option("--database", file, "Database of the log; default: as configured")
        ->type_name("FILE");
    CLI::Option* asJson = command.add_flag("--json", json, "Write one JSON object per line");
    command.add_flag("--csv", csv, "Write comma-separated values with a header")->excludes(asJson);
}

std::filesystem::path LogOptions::database(oplog::LogKind kind) const {
    loadConfiguration(globalOptions);
    if (!file.empty())
        return file;
    return (kind == oplog::LogKind::Operations ? oplog::configuredOperationLog()
                                               : oplog::configuredSecurityLog())
        .database;
}

oplog::LogQuery LogOptions::query() const {
    oplog::LogQuery query = texts;
    const oplog::UtcTime now = oplog::now();
    if (!since.empty())
        query.since = momentOf(since, "--since", now);
    if (!until.empty())
        query.until = momentOf(until, "--until", now);
    return query;
}

}  // namespace kelp::ctl
