#include <kelp/oplog/log_search.h>
#include <kelp/oplog/security_log.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"
#include "log_options.h"
#include "log_table.h"

namespace kelp::ctl {

namespace {

using oplog::LogEntry;
using oplog::LogKind;

/// A table without a limit of the caller's own shows so many records.
constexpr std::uint64_t kTableRecords = 200;

constexpr const char* kOplogFooter =
    R"(Times are UTC: 2025-03-01T12:00:00Z, its shorter forms such as 2025-03-01, or so long ago: 90s, 15m, 2h, 7d.
A line with *** tells of records that are missing because the disk could not be written for too long.

Examples:
  kelpctl oplog --since 2h --user nms1
  kelpctl oplog --address 10.0.0.7 --outcome failed --json
  kelpctl oplog --since 2025-03-01 --until 2025-04-01 --csv > march.csv)";

constexpr const char* kAuditFooter =
    R"(Times are as for kelpctl oplog. Events are login, logout, refused-address, lock-out, user, configuration; the log
itself adds retention, set-aside and tampering.

Examples:
  kelpctl audit --since 7d --event login --outcome failed
  kelpctl audit verify
  kelpctl audit verify --head 1234:5e9c...      a head that an earlier verify printed is in the chain still)";

constexpr const char* kVerifyFooter =
    R"(Found are records that were changed, removed, moved or put in, the last ones included. Not found is what someone does
who can write the file and makes all later hashes and the noted head anew, or puts back an older copy of the file:
note the head that this command prints in another place from time to time and give it with --head later.
Exit status: 0 the chain is whole, 1 it is not or cannot be read.)";

bool print(const std::string& line) {
    return std::printf("%s\n", line.c_str()) >= 0;
}

void show(const LogOptions& options, LogKind kind) {
    const std::filesystem::path database = options.database(kind);
    oplog::LogQuery query = options.query();
    const bool isCutByUs = options.isTable() && query.newest == 0;
    if (isCutByUs)
        query.newest = kTableRecords;
    oplog::LogReader reader(database, kind);
    // RFC 4180 ends lines so
    if (options.csv)
        print(oplog::csvHeader() + "\r");
    else if (options.isTable())
        print(tableHeader(kind));
    const std::uint64_t count = reader.search(query, [&](const LogEntry& entry) {
        if (options.csv)
            return print(oplog::csvOf(entry) + "\r");
        return print(options.json ? oplog::jsonOf(entry) : tableLine(entry, kind));
    });
    if (std::fflush(stdout) != 0)
        throw std::runtime_error("the output cannot be written");
    if (isCutByUs && count == kTableRecords)
        std::fprintf(stderr, "kelpctl: these are the newest %llu; --newest shows more\n",
                     static_cast<unsigned long long>(kTableRecords));
}

void verifyChain(const LogOptions& options, const std::vector<std::string>& headTexts) {
    std::vector<oplog::ChainHead> heads;
    for (const std::string& text : headTexts) {
        const std::optional<oplog::ChainHead> head = oplog::ChainHead::of(text);
        if (!head)
            throw std::runtime_error("--head: \"" + text + "\" is no NUMBER:HASH");
        heads.push_back(*head);
    }
    const oplog::Verification result = oplog::verify(options.database(LogKind::Security), heads);
    for (const std::string& problem : result.problems)
        print("*** " + problem);
    if (result.problemCount > result.problems.size())
        print("*** and " + std::to_string(result.problemCount - result.problems.size()) + " more");
    print(std::to_string(result.records) + " record(s) checked, head " + result.head.text());
    if (result.problemCount > 0)
        throw std::runtime_error("the chain of the security log is broken");
}

}  // namespace

void addLogCommands(CLI::App& app, const GlobalOptions& globalOptions) {
    const auto operations = std::make_shared<LogOptions>(globalOptions);
    CLI::App* oplog = app.add_subcommand("oplog", "Search the log of requests");
    oplog->fallthrough()->footer(kOplogFooter);
    operations->addTo(*oplog, "--operation", "Operation, such as getManager");
    oplog->callback([operations] { show(*operations, LogKind::Operations); });

    const auto security = std::make_shared<LogOptions>(globalOptions);
    CLI::App* audit = app.add_subcommand("audit", "Search the log of log-ins, refusals and administration");
    audit->fallthrough()->footer(kAuditFooter);
    security->addTo(*audit, "--event", "Event, such as login");
    const auto heads = std::make_shared<std::vector<std::string>>();
    CLI::App* check = audit->add_subcommand("verify", "Check that no record was changed or removed");
    check->fallthrough()->footer(kVerifyFooter);
    check->add_option("--head", *heads, "A head of the chain that must be in it still")
        ->type_name("NUMBER:HASH");
    audit->callback([security, heads, check] {
        if (check->parsed())
            verifyChain(*security, *heads);
        else
            show(*security, LogKind::Security);
    });
}

}  // namespace kelp::ctl
