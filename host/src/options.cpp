#include "options.h"

#include <CLI/CLI.hpp>

#include <iostream>
#include <string>

#include "exit_codes.h"

namespace kelp::host {

namespace {

constexpr const char* kFooter =
    R"(Without --config, the file is /etc/kelp/kelp.toml. If it does not exist, the defaults apply: CORBA calls on
127.0.0.1:4800, an embedded naming service on 127.0.0.1:4801, data below the user's state directory.

Signals:
  SIGTERM, SIGINT  stop in order; a second one ends the process at once
  SIGHUP           read the configuration and the TLS files again

Examples:
  kelpd
  kelpd --config /etc/kelp/kelp.toml
  kelpd --check-config ./kelp.toml

Exit codes:
  0  stopped by a signal, or the configuration has no problems
  1  internal error, or a stop that a second signal cut short
  2  wrong usage
  3  the configuration cannot be used
  4  the embedded naming service cannot be started
  5  a bundle, such as the agent, cannot be started
  6  the operator's interface cannot be opened)";

}  // namespace

std::optional<Options> parseOptions(int argc, char** argv, int& exitCode) {
    std::string configFile;
    std::string checkFile;
    CLI::App app{
        "The host process of the EMS's CORBA northbound interface. Runs in the foreground until it "
        "receives SIGTERM or SIGINT.",
        "kelpd"};
    app.footer(kFooter);
    app.set_version_flag("--version", "kelpd " KELP_VERSION);
    auto* config = app.add_option("-c,--config", configFile, "The configuration file");
    auto* check =
        app.add_option(
               "--check-config", checkFile,
               "Check this configuration file (or that of --config) and exit; each problem is "
               "reported with file, line and key")
            ->expected(0, 1)
            ->type_name("[FILE]");
    try {
        app.parse(argc, argv);
        if (!checkFile.empty() && config->count() > 0)
            throw CLI::ValidationError("--check-config", "the file is already given by --config");
    } catch (const CLI::Success& help) {
        exitCode = app.exit(help);
        return std::nullopt;
    } catch (const CLI::ParseError& problem) {
        std::cerr << "kelpd: " << problem.what() << " (see kelpd --help)\n";
        exitCode = kUsageError;
        return std::nullopt;
    }
    Options options;
    options.configFile = checkFile.empty() ? configFile : checkFile;
    options.checkOnly = check->count() > 0;
    return options;
}

}  // namespace kelp::host
