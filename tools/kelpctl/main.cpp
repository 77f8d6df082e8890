#include <kelp/bundlemgr/config_store.h>
#include <kelp/util/core_dumps.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"
#include "user_record.h"

namespace kelp::ctl {

namespace {

constexpr const char* kDefaultConfig = "/etc/kelp/kelp.toml";

constexpr const char* kFooter = R"(Examples:
  kelpctl user add nms1                             asks for the password
  kelpctl user add nms1 --password-file nms1.pw     reads it from the first line of a file
  kelpctl user list --json
  kelpctl status
  kelpctl check --user probe --password-file probe.pw
  kelpctl --config ./kelp.toml user disable nms1
  kelpctl alarm raise --object ManagedElement=NE-1 --severity major --probable-cause LOS
  kelpctl alarm list --severity critical,major
  kelpctl storm --rate 200 --count 5000
  kelpctl oplog --since 2h --outcome failed
  kelpctl audit verify
  kelpctl inventory import sample-network.jsonl
  kelpctl snmp check-mapping standard.toml
  kelpctl backup /var/backups/kelp.tar.zst

Exit status: 0 done, 1 failed, 2 wrong command line, 3 an account was changed, but the change could not be
recorded in the security log. `kelpctl status` also exits with 10 and 20, `kelpctl check` with 20.)";

constexpr int kFailed = 1;
constexpr int kWrongCommandLine = 2;
constexpr int kUnrecorded = 3;

int fail(std::string reason, int status) {
    std::replace(reason.begin(), reason.end(), '\n', ' ');
    std::fprintf(stderr, "kelpctl: %s\n", reason.c_str());
    return status;
}

int run(int argc, char** argv) {
    CLI::App app("The operator's tool for the EMS's CORBA northbound interface.", "kelpctl");
    GlobalOptions options;
    app.footer(kFooter);
    app.require_subcommand(1);
    app.add_option("--config", options.config,
                   std::string("Configuration file; default: ") + kDefaultConfig + " if it exists")
        ->type_name("FILE");
    addUserCommands(app, options);
    addOperatorCommands(app, options);
    addAlarmCommands(app, options);
    addStormCommand(app, options);
    addSessionCommands(app, options);
    addConsumersCommand(app, options);
    addHealthCommand(app, options);
    addStatusCommand(app, options);
    addCheckCommand(app, options);
    addNamingCommand(app, options);
    addConfigCommands(app, options);
    addReloadCommand(app, options);
    addIorCommand(app);
    addLogCommands(app, options);
    addPartsCommand(app, options);
    addTraceCommand(app, options);
    addThreadsCommand(app, options);
    addInventoryCommands(app, options);
    addSnmpCommands(app, options);
    addStateCommands(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::RuntimeError& status) {
        return status.get_exit_code();
    } catch (const CLI::ParseError& problem) {
        if (problem.get_exit_code() == 0)
            return app.exit(problem);
        const std::vector<std::string> notUnderstood = app.remaining(true);
        const std::string reason =
            notUnderstood.empty() ? std::string(problem.what())
                                  : "\"" + notUnderstood.front() + "\" is not a command or option";
        return fail(reason + " (see --help)", kWrongCommandLine);
    } catch (const UnrecordedChange& failure) {
        return fail(failure.what(), kUnrecorded);
    } catch (const std::exception& failure) {
        return fail(failure.what(), kFailed);
    }
    return 0;
}

}  // namespace

void loadConfiguration(const GlobalOptions& options) {
    std::filesystem::path file = options.config;
    if (std::error_code error; file.empty() && std::filesystem::exists(kDefaultConfig, error))
        file = kDefaultConfig;
    if (file.empty())
        return;
    const std::vector<NS_BUNDLEMGR1::ConfigProblem> problems =
        NS_BUNDLEMGR1::ConfigStore::instance().load(file);
    if (problems.empty())
        return;
    std::string text = problems.front().text();
    if (problems.size() > 1)
        text += " (and " + std::to_string(problems.size() - 1) + " more)";
    throw std::runtime_error(text);
}

}  // namespace kelp::ctl

int main(int argc, char** argv) {
    kelp::util::setCoreDumps(false);  // it handles passwords
    return kelp::ctl::run(argc, argv);
}
