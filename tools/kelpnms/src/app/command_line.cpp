#include "app/command_line.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>

#include "app/ack_command.h"
#include "app/alarms_command.h"
#include "app/events_command.h"
#include "app/exit_codes.h"
#include "app/list_commands.h"
#include "app/seconds_option.h"
#include "app/session_commands.h"

namespace kelp::nms {

namespace {

constexpr const char* kFooter = R"(Examples:
  kelpnms find
  kelpnms --user demo --password-file pw managers
  KELPNMS_PASSWORD=secret kelpnms --user demo ems --capabilities --json
  kelpnms --naming corbaloc:iiop:1.2@ems.example.net:4801/NameService --user demo watch --for 60
  kelpnms --user demo --password-file pw events
  kelpnms --naming ems.example.net:4844 --tls-ca ca.pem --tls-key nms.pem --user demo --password-file pw events
  kelpnms --user demo --password-file pw events --filter "$perceivedSeverity == PS_CRITICAL"
  kelpnms --user demo --password-file pw alarms --severity critical major
  kelpnms --user demo --password-file pw alarms --once --json
  kelpnms --user demo --password-file pw ack --object ManagedElement=NE-1 --probable-cause LOS
  kelpnms --user demo --password-file pw ports NE-1 --format csv
  kelpnms --user demo --password-file pw dump network.jsonl

Without --password-file, the password is read from the environment variable KELPNMS_PASSWORD, or else from the
terminal.

Exit codes:
  0  done
  1  internal error
  2  wrong usage, no password, or kelpnms cannot listen on the address of --listen
  3  the naming service or the EMS cannot be reached, or there is no session factory or more than one
  4  the EMS refused the log-in
  5  a call on the session or a manager failed
  6  the EMS ended the session (events: only with --no-reconnect), or the time of --for was over before the number of
     pings or events of --count had arrived, or the list of alarms had been read
  7  the EMS does not have the manager that the command needs
  8  elements, ports, equipment, links, dump, alarms --once: everything was read, but it may be incomplete; standard
     error says why
  9  the output could not be written
  10 ack: the EMS could not acknowledge some of the alarms
  128 + the signal's number: interrupted at the password prompt or while a list was read, or the EMS did not answer
     the log-out in time)";
/// Return the naming service's corbaloc text. "host:port" means the naming service at that address.
std::string namingText(const std::string& text, bool overTls) {
    const bool hasScheme = text.rfind("IOR:", 0) == 0 || text.rfind("corba", 0) == 0;
    const std::string protocol = overTls ? "ssliop" : "iiop";
    return hasScheme ? text : "corbaloc:" + protocol + ":1.2@" + text + "/NameService";
}

std::string firstWord(const std::string& file) {
    std::ifstream in(file);
    std::string word;
    if (!(in >> word))
        throw CLI::ValidationError("--ior", "no reference in " + file);
    return word;
}

/// Option values as given on the command line, before they are converted.
struct Raw {
    std::string naming = "127.0.0.1:4801";
    std::string iorFile;
    double timeout = 30;
};

void addConnectionOptions(CLI::App& app, ConnectionOptions& options, Raw& raw) {
    app.add_option("--naming", raw.naming, "Naming service, as corbaloc, IOR or HOST:PORT")
        ->capture_default_str();
    auto* factory = app.add_option(
        "--factory", options.factoryPath,
        "Stringified name of the session factory; needed if the naming service has several");
    app.add_option("--ior", raw.iorFile,
                   "File with the session factory's reference; the naming service is then not used")
        ->check(CLI::ExistingFile)
        ->excludes(factory);
    app.add_option("-u,--user", options.user, "User to log in as")->envname("KELPNMS_USER");
    app.add_option("--password-file", options.passwordFile, "File whose first line is the password")
        ->check(CLI::ExistingFile);
    app.add_option("--listen", options.listen,
                   "HOST:PORT where this NMS accepts the EMS's calls; default: this host's address "
                   "on the route to the naming service, with any free port");
    auto* authorities = app.add_option("--tls-ca", options.tlsAuthorities,
                                       "Use TLS for every call: PEM file with the certificates of "
                                       "the authorities that sign the EMS's certificate")
                            ->check(CLI::ExistingFile);
    auto* key = app.add_option("--tls-key", options.tlsKeyFile,
                               "PEM file with this NMS's private key and certificate")
                    ->check(CLI::ExistingFile)
                    ->needs(authorities);
    authorities->needs(key);
    app.add_option("--tls-key-password-file", options.tlsKeyPasswordFile,
                   "File whose first line is the private key's password")
        ->check(CLI::ExistingFile)
        ->needs(key);
    auto* name = app.add_option("--tls-name", options.tlsName,
                                "Name or address that the certificates of the naming service and "
                                "the EMS must show; default: the host that is called")
                     ->needs(key);
    app.add_flag("!--no-tls-name-check", options.tlsChecksName,
                 "Accept any name in a certificate that the right authority has signed")
        ->needs(key)
        ->excludes(name);
    app.add_option("--timeout", raw.timeout,
                   "Time limit in seconds for every call, and for waiting until the session "
                   "factory is registered (find does not wait)")
        ->capture_default_str()
        ->check(CLI::Range(0.1, kSecondsMax));
    app.add_flag("--json", options.json, "Write JSON");
    app.add_flag("-v,--verbose", options.verbose, "Report each step on standard error");
}

}  // namespace

std::optional<CommandLine> parseCommandLine(int argc, char** argv, int& exitCode) {
    CommandLine line;
    ConnectionOptions& connection = line.connection;
    Raw raw;
    CLI::App app{
        "An NMS on the command line. It logs in to an EMS over TMF 814 and uses the session.",
        "kelpnms"};
    app.footer(kFooter);
    app.set_version_flag("--version", "kelpnms " KELP_VERSION);
    app.fallthrough();
    app.require_subcommand(1);
    addConnectionOptions(app, connection, raw);
    addFindCommand(app, line.command);
    addManagersCommand(app, line.command);
    addPingCommand(app, line.command);
    addEmsCommand(app, line.command);
    addWatchCommand(app, line.command);
    addEventsCommand(app, line.command);
    addAlarmsCommand(app, line.command);
    addAckCommand(app, line.command);
    addListCommands(app, line.command);
    try {
        app.parse(argc, argv);
        if (!raw.iorFile.empty())
            connection.factoryReference = firstWord(raw.iorFile);
        if (line.command.logsIn && connection.user.empty())
            throw CLI::RequiredError("--user");
    } catch (const CLI::Success& help) {
        exitCode = app.exit(help);
        return std::nullopt;
    } catch (const CLI::ParseError& problem) {
        std::cerr << "kelpnms: " << problem.what() << " (see kelpnms --help)\n";
        exitCode = kUsageError;
        return std::nullopt;
    }
    connection.naming = namingText(raw.naming, !connection.tlsAuthorities.empty());
    connection.timeout = milliseconds(raw.timeout);
    return line;
}

}  // namespace kelp::nms
