#include <kelp/oplog/log_search.h>
#include <kelp/oplog/log_settings.h>
#include <kelp/oplog/verify.h>

#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"
#include "exported_heads.h"
#include "log_options.h"
#include "log_table.h"

namespace kelp::ctl {

namespace {

using oplog::LogEntry;
using oplog::LogKind;

/// Maximum records in a table when the caller gives no limit.
constexpr std::uint64_t kTableRecords = 200;

constexpr const char* kOplogFooter =
    R"(A TIME is UTC, such as 2025-03-01T12:00:00Z or shorter 2025-03-01, or a length of time before now: 90s, 15m, 2h, 7d.
A line with *** says that records are missing because the disk could not be written for too long.
Requests of callers without a log-in are kept in a separate part of limited size, and shown with the others. A line
with "more until" stands for several of these requests: those from its address with its outcome, from its time on.

Examples:
  kelpctl oplog --since 2h --user nms1
  kelpctl oplog --address 10.0.0.7 --outcome failed --json
  kelpctl oplog --since 2025-03-01 --until 2025-04-01 --csv > march.csv)";

constexpr const char* kAuditFooter =
    R"(A TIME has the same form as in kelpctl oplog. The events are login, logout, refused-address, refused-connection,
refused-peer, too-many-requests, lock-out, user, configuration, naming. The log itself adds key, retention, set-aside
and tampering.

Examples:
  kelpctl audit --since 7d --event login --outcome failed
  kelpctl audit verify
  kelpctl audit verify --export-head /mnt/elsewhere/heads     appends the head as a new line
  kelpctl audit verify --head /mnt/elsewhere/heads            checks that all these heads are still in the chain
  kelpctl audit verify --head 1234:5e9c...                    checks a head that an earlier verify printed)";

constexpr const char* kVerifyFooter =
    R"(Each record has an HMAC over itself and the previous record, made with the key in [oplog] audit_key_file. verify finds
records that were changed, removed, moved or inserted, including the last ones. It also finds a chain that was
rebuilt without the key. A log that is older than the key is checked without the key up to the record where the host
began to use the key, and no further.

From the log and the key alone, verify cannot find:
  - that the last records were cut off and the noted head was set back;
  - that the file was replaced by an older copy.
To find these, note the head outside this machine (--export-head) and give it to a later verify (--head): every record
written before that head must still be in the chain.

verify can never find what somebody forges after the newest head that was noted elsewhere, if that person can read the
key and write the log. It cannot find requests whose records were never written.

Without its key, a log can be neither checked nor continued. Keep a copy of the key where nobody can write the log.

Exit status: 0 the chain is complete, 1 it is not or cannot be read.)";

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
    if (!reader.problem().empty())
        std::fprintf(stderr, "kelpctl: without the requests made before a log-in: %s\n",
                     reader.problem().c_str());
    // RFC 4180 requires CR LF at the end of a line
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

/// The options of `kelpctl audit verify`.
struct VerifyOptions {
    std::vector<std::string> heads;
    std::string exportFile;
    std::string keyFile;
};

void verifyChain(const LogOptions& options, const VerifyOptions& asked) {
    std::vector<oplog::ChainHead> heads;
    for (const std::string& each : asked.heads)
        addHeads(each, heads);
    const std::filesystem::path database = options.database(LogKind::Security);
    const oplog::Verification result =
        oplog::verify(database, heads,
                      asked.keyFile.empty() ? oplog::configuredSecurityLog().auditKeyFile
                                            : std::filesystem::path(asked.keyFile));
    for (const std::string& problem : result.problems)
        print("*** " + problem);
    if (result.problemCount > result.problems.size())
        print("*** and " + std::to_string(result.problemCount - result.problems.size()) + " more");
    print(std::to_string(result.records) + " record(s) checked, head " + result.head.text());
    if (result.problemCount > 0)
        throw std::runtime_error("the chain of the security log is broken");
    if (!asked.exportFile.empty())
        exportHead(result.head, asked.exportFile);
}

}  // namespace

void addLogCommands(CLI::App& app, const GlobalOptions& globalOptions) {
    const auto operations = std::make_shared<LogOptions>(globalOptions);
    CLI::App* oplog = app.add_subcommand("oplog", "Search the log of requests");
    oplog->fallthrough()->footer(kOplogFooter);
    operations->addTo(*oplog, "--operation", "Operation, such as getManager");
    oplog->callback([operations] { show(*operations, LogKind::Operations); });

    const auto security = std::make_shared<LogOptions>(globalOptions);
    CLI::App* audit =
        app.add_subcommand("audit", "Search the log of log-ins, refusals and administration");
    audit->fallthrough()->footer(kAuditFooter);
    security->addTo(*audit, "--event", "Event, such as login");
    const auto asked = std::make_shared<VerifyOptions>();
    CLI::App* check =
        audit->add_subcommand("verify", "Check that no record was changed or removed");
    check->fallthrough()->footer(kVerifyFooter);
    check
        ->add_option("--head", asked->heads,
                     "A head that must still be in the chain, or a file with one head per line")
        ->type_name("NUMBER:HASH|FILE");
    check
        ->add_option("--export-head", asked->exportFile,
                     "If the chain is complete, append its head to this file")
        ->type_name("FILE");
    check
        ->add_option("--key-file", asked->keyFile,
                     "File with the key of the chain; default: as configured")
        ->type_name("FILE");
    audit->callback([security, asked, check] {
        if (check->parsed())
            verifyChain(*security, *asked);
        else
            show(*security, LogKind::Security);
    });
}

}  // namespace kelp::ctl
