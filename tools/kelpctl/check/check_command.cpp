#include <kelp/bundlemgr/config_store.h>
#include <kelp/util/json_text.h>
#include <kelp/util/naming_path.h>
#include <kelp/util/trace_log.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "check/chain.h"
#include "check/check_report.h"
#include "check/step_runner.h"
#include "commands.h"
#include "password_input.h"

namespace kelp::ctl {

namespace {

using NS_BUNDLEMGR1::ConfigStore;

constexpr const char* kFooter =
    R"(Goes the way of an NMS, with the naming service and the EMS's name of the configuration: naming service, naming
entry, the address in it, session factory, log-in, manager EMS, event channel, log-out. Shows each step, and for the
first that fails what is broken and what to do. Without --user it ends before the log-in, and says so. Use an account
that no NMS uses. The password is sent to the factory that the naming service names, as an NMS would send it.

With [tls] mode = 2, or --tls, it calls over TLS with the certificates of [tls]; run it as a user who can read them.

Exit status: 0 each step that was made succeeded; 20 a step failed; 1 the check could not be made.

Examples:
  kelpctl check
  kelpctl check --user probe --password-file probe.pw
  kelpctl check --tls --tls-name ems.example.net --json)";

constexpr int kCritical = 20;
constexpr int kTlsOnly = 2;
/// Time beyond the limit of its calls after which a step is given up. The ORB ends a call that
/// exceeds its limit; this is for what it does not limit, such as the look-up of a name.
constexpr std::chrono::milliseconds kGrace{1000};

struct CheckOptions {
    std::string user;
    std::string passwordFile;
    std::string tlsName;
    double seconds = 5;
    bool checksTlsName = true;
    bool overTls = false;
    bool asJson = false;
};

CheckTarget targetOf(const CheckOptions& options) {
    const ConfigStore& config = ConfigStore::instance();
    CheckTarget target;
    target.overTls = options.overTls || config.integer("tls.mode") == kTlsOnly;
    const std::int64_t port = config.integer(target.overTls ? "naming.ssl_port" : "naming.port");
    if (port == 0)
        throw std::runtime_error("[naming] ssl_port is 0: the naming service has no port for TLS");
    target.namingHost = config.text("naming.host");
    target.namingPort = static_cast<std::uint16_t>(port);
    target.isEmbedded = config.flag("naming.embedded");
    target.path =
        util::toText(util::factoryPath(config.text("ems.name"), config.text("ems.version")));
    target.user = options.user;
    target.limit = std::chrono::milliseconds(static_cast<std::int64_t>(options.seconds * 1000));
    return target;
}

std::optional<CheckTls> tlsOf(const CheckOptions& options, const CheckTarget& target) {
    if (!target.overTls)
        return std::nullopt;
    const ConfigStore& config = ConfigStore::instance();
    const std::string passwordFile = config.text("tls.key_password_file");
    return CheckTls{config.text("tls.ca"), config.text("tls.certificate"),
                    passwordFile.empty() ? Secret() : readExistingPassword(passwordFile),
                    options.tlsName, options.checksTlsName};
}

void print(const CheckOptions& options, const CheckTarget& target, const RunResult& run) {
    if (options.asJson)
        std::printf("%s\n", util::jsonText(checkJson(run.steps, target), 2).c_str());
    else
        std::printf("%s", checkTable(run.steps, target).c_str());
}

void check(const CheckOptions& options) {
    util::TraceSettings silent;
    silent.console = false;
    std::string whyNot;
    if (!util::TraceLog::instance().open(silent, whyNot))
        throw std::runtime_error(whyNot);
    const CheckTarget target = targetOf(options);
    auto chain = std::make_shared<Chain>(
        target, target.user.empty() ? Secret() : readExistingPassword(options.passwordFile),
        tlsOf(options, target));
    const RunResult run = runSteps(stepsOf(chain, target), target.limit + kGrace);
    print(options, target, run);
    const int status = firstFailure(run.steps) == nullptr ? 0 : kCritical;
    if (run.isStuck) {
        std::fflush(stdout);
        std::_Exit(status);  // the step's thread still uses the chain and the ORB
    }
    chain.reset();
    if (status != 0)
        throw CLI::RuntimeError(status);
}

}  // namespace

void addCheckCommand(CLI::App& app, const GlobalOptions& globalOptions) {
    const auto options = std::make_shared<CheckOptions>();
    CLI::App* command =
        app.add_subcommand("check", "Check the way of an NMS, from the naming service to log-out");
    command->fallthrough()->footer(kFooter);
    CLI::Option* user = command->add_option("--user", options->user, "Account to log in with");
    command
        ->add_option("--password-file", options->passwordFile,
                     "File whose first line is the password; default: ask for it")
        ->type_name("FILE")
        ->needs(user);
    command->add_option("--timeout", options->seconds, "Time limit of each step in SECONDS")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(CLI::Range(0.5, 300.0));
    command->add_flag("--tls", options->overTls, "Call over TLS, also with [tls] mode = 1");
    CLI::Option* name =
        command->add_option("--tls-name", options->tlsName,
                            "Name or address that certificates must show; default: the host that "
                            "is called");
    command
        ->add_flag("!--no-tls-name-check", options->checksTlsName,
                   "Accept any name in a certificate that the right authority has signed")
        ->excludes(name);
    command->add_flag("--json", options->asJson, "Write the steps as JSON");
    command->callback([options, &globalOptions] {
        loadConfiguration(globalOptions);
        check(*options);
    });
}

}  // namespace kelp::ctl
