#include "app/options.h"

#include <CLI/CLI.hpp>

#include <fstream>
#include <iostream>

#include "app/exit_codes.h"
#include "app/list_commands.h"

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
     pings or events of --count had arrived
  7  the EMS does not have the manager that the command needs
  8  elements, ports, equipment, links, dump: everything was read, but it may be incomplete; standard error says why
  9  the output could not be written
  128 + the signal's number: interrupted at the password prompt or while a list was read, or the EMS did not answer
     the log-out in time)";
constexpr const char* kEventsFooter =
    R"(Each event is one line: time of arrival, perceivedSeverity, type, object, probable cause, text. On a terminal, the
table fits the terminal's width and the colour shows the severity; set NO_COLOR to switch the colours off. Elsewhere
no text is cut. With --json, each line is a JSON object: an event has the keys "type" and "fields", a notice has the
key "event".

Notices begin with ***. They say which events may be missing:
  eventLossOccurred, eventLossCleared, alarmLossOccurred
      The EMS reported a loss to this NMS's session object. The lost events may have been for this NMS or for another.
  (duplicate), in JSON "duplicate": true
      An event with the same notificationId and the same content has arrived before. The EMS did not know whether it
      had arrived, and sent it again. --count counts it once. A different event with a used id is not a duplicate,
      because the standard does not guarantee unique ids. kelpnms compares the newest 10000 events of a connection;
      it does not compare heartbeats.
  notificationIdWentBack
      The id is a smaller number than the previous one: the EMS has started counting anew, or events have overtaken
      each other. Missing ids mean nothing, because events that were filtered out or were for other consumers use
      ids too.
  connectionLost
      The EMS ended the session, or its event channel disconnected this consumer, or the session no longer answers
      (kelpnms pings it every 5 s), or a heartbeat is overdue. A heartbeat is overdue when no event of any type has
      arrived for 1.5 times the heartbeat interval, and for at least 2 s longer than the interval. The interval is
      --heartbeat-interval or, without that option, the time between the first two heartbeats of a connection. As long
      as kelpnms does not know the interval, it does not check for overdue heartbeats. A --filter must let heartbeats
      through for this check.
  reconnecting, reconnectFailed, reconnected
      kelpnms logs in again and connects with the same filter. The first attempt follows after 1 s; the pauses then
      double up to 30 s. Events that the EMS sent in the meantime are missing.

After a loss and after a reconnect, a notice asks you to resynchronise: read the active alarms, and everything else
that you keep of the EMS, again.

Ctrl-C and SIGTERM disconnect from the channel and end the session at any time. A second signal ends kelpnms at once.)";

constexpr double kSecondsMax = 86400;

std::chrono::milliseconds milliseconds(double seconds) {
    return std::chrono::milliseconds(static_cast<long long>(seconds * 1000));
}

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
    double duration = 0;
    double heartbeatInterval = 0;
    unsigned pings = 1;
    unsigned watchCount = 0;
};

void addCommonOptions(CLI::App& app, Options& options, Raw& raw) {
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

void addCommands(CLI::App& app, Options& options, Raw& raw) {
    const auto command = [&](const char* name, const char* what, Command which) {
        return app.add_subcommand(name, what)->callback([&options, which] {
            options.command = which;
        });
    };
    command("find",
            "Find the session factory and show its name, address and version, without a log-in",
            Command::Find);
    command("managers", "Log in and list the EMS's managers", Command::Managers);

    auto* ping = command("ping", "Log in and ping the EMS", Command::Ping);
    ping->add_option("--count", raw.pings, "Number of pings")
        ->capture_default_str()
        ->check(CLI::Range(1u, 1000000u));

    auto* ems =
        command("ems", "Log in and show the EMS's description of itself (getEMS)", Command::Ems);
    ems->add_flag("--capabilities", options.capabilities,
                  "Show the manager's operations too (getCapabilities)");

    auto* watch = command("watch", "Stay logged in and show each call of the EMS until Ctrl-C",
                          Command::Watch);
    watch->add_option("--count", raw.watchCount, "Leave after this number of pings")
        ->check(CLI::Range(1u, 1000000u));
    watch->add_option("--for", raw.duration, "Leave after this number of seconds")
        ->check(CLI::Range(0.1, kSecondsMax));

    auto* events = command("events", "Stay logged in and show each event of the EMS until Ctrl-C",
                           Command::Events);
    events->add_option(
        "--filter", options.filter,
        "Receive only events that match this constraint (extended trader constraint language)");
    events->add_flag("--sequence", options.sequences, "Receive events in batches");
    events->add_option("--count", raw.watchCount, "Leave after this number of events")
        ->check(CLI::Range(1u, 1000000000u));
    events->add_option("--for", raw.duration, "Leave after this number of seconds")
        ->check(CLI::Range(0.1, kSecondsMax));
    events
        ->add_option("--heartbeat-interval", raw.heartbeatInterval,
                     "Seconds between the EMS's heartbeats; default: learned from the first two")
        ->check(CLI::Range(0.5, kSecondsMax));
    events->add_flag("!--no-reconnect", options.reconnect,
                     "Exit when the events end, instead of logging in again");
    events->footer(kEventsFooter);
    addListCommands(app, options);
}

}  // namespace

std::optional<Options> parseOptions(int argc, char** argv, int& exitCode) {
    Options options;
    Raw raw;
    CLI::App app{
        "An NMS on the command line. It logs in to an EMS over TMF 814 and uses the session.",
        "kelpnms"};
    app.footer(kFooter);
    app.set_version_flag("--version", "kelpnms " KELP_VERSION);
    app.fallthrough();
    app.require_subcommand(1);
    addCommonOptions(app, options, raw);
    addCommands(app, options, raw);
    try {
        app.parse(argc, argv);
        if (!raw.iorFile.empty())
            options.factoryReference = firstWord(raw.iorFile);
        if (options.command != Command::Find && options.user.empty())
            throw CLI::RequiredError("--user");
    } catch (const CLI::Success& help) {
        exitCode = app.exit(help);
        return std::nullopt;
    } catch (const CLI::ParseError& problem) {
        std::cerr << "kelpnms: " << problem.what() << " (see kelpnms --help)\n";
        exitCode = kUsageError;
        return std::nullopt;
    }
    if (options.json)
        options.lists.format = Format::Json;
    options.naming = namingText(raw.naming, !options.tlsAuthorities.empty());
    options.timeout = milliseconds(raw.timeout);
    const bool isWatching = options.command == Command::Watch || options.command == Command::Events;
    options.count = isWatching ? raw.watchCount : raw.pings;
    if (raw.duration > 0)
        options.duration = milliseconds(raw.duration);
    if (raw.heartbeatInterval > 0)
        options.heartbeatInterval = milliseconds(raw.heartbeatInterval);
    return options;
}

}  // namespace kelp::nms
