#include <kelp/util/json_text.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>

#include "admin_client.h"
#include "commands.h"
#include "moment.h"
#include "sessions/session_table.h"

namespace kelp::ctl {

namespace {

using admin::Json;
using Text = std::function<std::string(const Json&)>;

constexpr const char* kSessionsFooter =
    R"(Without --ended it shows the sessions of now: the last ping and its failures, calls per second, open iterators, events
delivered, lost and queued, and the age of the oldest event that waits. With --ended it shows those that have ended, the
newest first. The reason is one of log-out, replaced, dead, silent, limit, user-disabled, host-stopped, host-killed,
operator, failed. Events queued at the end were not delivered.

Examples:
  kelpctl sessions
  kelpctl sessions --watch 2
  kelpctl sessions --ended --user nms1 --since 2h --json)";

constexpr const char* kSessionFooter =
    R"(SESSION is a number from kelpctl sessions, or the user or address of an NMS that has only one session.

Examples:
  kelpctl session show 17
  kelpctl session explain nms1
  kelpctl session end 192.0.2.7:4711)";

constexpr const char* kDrainFooter =
    R"(A drained host refuses log-ins, tells the NMS why, and ends the sessions, the oldest first. This lasts until --end or
a restart.

Examples:
  kelpctl drain --reason "upgrade at 22:00"
  kelpctl drain --status
  kelpctl drain --end)";

constexpr const char* kTopFooter =
    R"(Sessions whose events have waited longest come first. On a terminal the screen is refreshed until Ctrl-C. Otherwise it
is printed once, or --count times.

Examples:
  kelpctl top
  kelpctl top --every 5)";

/// How the answer to a request is shown.
struct Display {
    bool asJson = false;
    int everySeconds = 0;  ///< 0: once
    int count = 0;         ///< 0: no end

    void print(const Json& answer, const Text& text) const {
        const bool repeats = everySeconds > 0;
        const std::string shown =
            asJson ? util::jsonText(answer, repeats ? -1 : 2) + "\n" : text(answer);
        const bool refreshes = repeats && !asJson && ::isatty(STDOUT_FILENO) != 0;
        std::printf("%s%s", refreshes ? "\x1b[H\x1b[2J" : "", shown.c_str());
        std::fflush(stdout);
    }
    void show(const std::function<Json()>& read, const Text& text) const {
        for (int shown = 1;; ++shown) {
            print(read(), text);
            if (everySeconds == 0 || shown == count || std::ferror(stdout) != 0)
                return;
            std::this_thread::sleep_for(std::chrono::seconds(everySeconds));
        }
    }
};

AdminClient clientFor(const GlobalOptions& options) {
    loadConfiguration(options);
    return AdminClient(admin::configuredAddress());
}

/// The name of the person at the terminal, for the record. The host does not check it.
std::string callerName() {
    for (const char* variable : {"SUDO_USER", "USER", "LOGNAME"}) {
        const char* const name = std::getenv(variable);
        if (name != nullptr && *name != '\0')
            return std::string(name).substr(0, 100);
    }
    return "uid " + std::to_string(::getuid());
}

struct SessionsCommand {
    const GlobalOptions& options;
    Display display{};
    bool ended = false;
    std::string user{};
    std::string nms{};
    std::string reason{};
    std::string since{};
    std::string until{};
    int limit = 100;

    admin::Query query() const {
        admin::Query query{{"limit", std::to_string(limit)}};
        const auto add = [&query](const char* name, const std::string& value) {
            if (!value.empty())
                query.emplace(name, value);
        };
        const auto momentText = [](const std::string& text, const char* option) {
            return text.empty() ? text : oplog::timeText(momentOf(text, option, oplog::now()));
        };
        add("user", user);
        add("nms", nms);
        add("reason", reason);
        add("since", momentText(since, "--since"));
        add("until", momentText(until, "--until"));
        return query;
    }
    void run() const {
        const AdminClient client = clientFor(options);
        if (ended)
            display.show([&] { return client.get("/sessions/ended", query()); }, endedTable);
        else
            display.show([&] { return client.get("/sessions"); }, sessionsTable);
    }
};

void addSessions(CLI::App& app, const GlobalOptions& options) {
    const auto sessions = std::make_shared<SessionsCommand>(SessionsCommand{options});
    CLI::App* command = app.add_subcommand("sessions", "Show the sessions of NMS");
    command->fallthrough()->footer(kSessionsFooter);
    CLI::Option* ended = command->add_flag("--ended", sessions->ended, "Show ended sessions");
    const auto addFilter = [&](const char* name, std::string& value, const char* description) {
        return command->add_option(name, value, description)->needs(ended);
    };
    addFilter("--user", sessions->user, "Only those of this user");
    addFilter("--nms", sessions->nms, "Only those of the NMS with this address and port");
    addFilter("--reason", sessions->reason, "Only those that ended for this reason");
    addFilter("--since", sessions->since, "Only those that ended at this TIME or later")
        ->type_name("TIME");
    addFilter("--until", sessions->until, "Only those that ended before this TIME")
        ->type_name("TIME");
    command->add_option("--limit", sessions->limit, "Maximum number of ended sessions")
        ->check(CLI::Range(1, 1000))
        ->needs(ended);
    command->add_flag("--json", sessions->display.asJson, "Write the answer as JSON");
    command
        ->add_option("--watch", sessions->display.everySeconds,
                     "Repeat after each of these SECONDS")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600));
    command->callback([sessions] { sessions->run(); });
}

std::string shownName(const Json& session) {
    return std::to_string(session.value("number", std::uint64_t{0}));
}

/// The number of the session that the operator means.
std::string numberOf(const AdminClient& client, const std::string& meant) {
    if (!meant.empty() && meant.find_first_not_of("0123456789") == std::string::npos)
        return meant;
    std::optional<std::string> found;
    const Json answer = client.get("/sessions");
    for (const Json& each : answer.at("sessions")) {
        if (each.value("user", "") != meant && each.value("nms", "") != meant)
            continue;
        if (found)
            throw std::runtime_error("more than one session fits; give its number, such as " +
                                     *found + " or " + shownName(each));
        found = shownName(each);
    }
    if (!found)
        throw std::runtime_error("no session of that user or NMS exists; see kelpctl sessions");
    return *found;
}

struct SessionCommand {
    const GlobalOptions& options;
    std::string session{};
    std::string by{};
    Display display{};
};

std::shared_ptr<SessionCommand> addSession(CLI::App& group, const GlobalOptions& options,
                                           const char* name, const char* description,
                                           CLI::App*& command) {
    auto session = std::make_shared<SessionCommand>(SessionCommand{options});
    command = group.add_subcommand(name, description);
    command->fallthrough()->footer(kSessionFooter);
    command->add_option("session", session->session, "Number, user, or address of the NMS")
        ->required()
        ->type_name("SESSION");
    command->add_flag("--json", session->display.asJson, "Write the answer as JSON");
    return session;
}

void addShow(CLI::App& group, const GlobalOptions& options, const char* name,
             const char* description, std::string (*text)(const Json&)) {
    CLI::App* command = nullptr;
    const auto session = addSession(group, options, name, description, command);
    command
        ->add_option("--watch", session->display.everySeconds, "Repeat after each of these SECONDS")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600));
    command->callback([session, text] {
        const AdminClient client = clientFor(session->options);
        const std::string path = "/sessions/" + numberOf(client, session->session);
        session->display.show([&] { return client.get(path); }, text);
    });
}

void addEnd(CLI::App& group, const GlobalOptions& options) {
    CLI::App* command = nullptr;
    const auto session =
        addSession(group, options, "end", "End a session, after notifying its NMS", command);
    command->add_option("--by", session->by, "Who ends it, for the record; default: your name");
    command->callback([session] {
        const AdminClient client = clientFor(session->options);
        const std::string number = numberOf(client, session->session);
        const Json answer = client.remove(
            "/sessions/" + number, {{"by", session->by.empty() ? callerName() : session->by}});
        session->display.print(answer,
                               [&](const Json&) { return "Session " + number + " has ended.\n"; });
    });
}

struct DrainCommand {
    const GlobalOptions& options;
    Display display{};
    bool status = false;
    bool end = false;
    std::string reason{};
    std::string by{};

    void run() const {
        const AdminClient client = clientFor(options);
        if (status)
            display.show([&] { return client.get("/drain"); }, drainText);
        else if (end)
            display.print(client.remove("/drain"), drainText);
        else
            display.print(
                client.post("/drain", {{"reason", reason}, {"by", by.empty() ? callerName() : by}}),
                drainText);
    }
};

void addDrain(CLI::App& app, const GlobalOptions& options) {
    const auto drain = std::make_shared<DrainCommand>(DrainCommand{options});
    CLI::App* command =
        app.add_subcommand("drain", "Refuse log-ins and end all sessions, the oldest first");
    command->fallthrough()->footer(kDrainFooter);
    CLI::Option* status = command->add_flag("--status", drain->status, "Only show how far it is");
    CLI::Option* end = command->add_flag("--end", drain->end, "Accept log-ins again");
    end->excludes(status);
    command->add_option("--reason", drain->reason, "What NMS that log in are told")
        ->excludes(status)
        ->excludes(end);
    command->add_option("--by", drain->by, "Who drains, for the record; default: your name")
        ->excludes(status)
        ->excludes(end);
    command->add_flag("--json", drain->display.asJson, "Write the answer as JSON");
    command
        ->add_option("--watch", drain->display.everySeconds, "Repeat after each of these SECONDS")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600))
        ->needs(status);
    command->callback([drain] { drain->run(); });
}

/// Rows of sessions that fit on the terminal below the totals and the titles.
std::size_t rowsOnScreen() {
    constexpr unsigned short kOtherLines = 4;
    winsize size{};
    if (::isatty(STDOUT_FILENO) == 0 || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 ||
        size.ws_row == 0)
        return std::numeric_limits<std::size_t>::max();
    return static_cast<std::size_t>(
        std::max(1, static_cast<int>(size.ws_row) - static_cast<int>(kOtherLines)));
}

void addTop(CLI::App& app, const GlobalOptions& options) {
    const auto top = std::make_shared<Display>();
    top->everySeconds = 2;
    CLI::App* command = app.add_subcommand("top", "Show the sessions live, the slowest first");
    command->fallthrough()->footer(kTopFooter);
    command->add_option("--every", top->everySeconds, "SECONDS between two screens")
        ->type_name("SECONDS")
        ->check(CLI::Range(1, 3600));
    command->add_option("--count", top->count, "Number of screens; default: no end on a terminal")
        ->check(CLI::Range(1, 1000000));
    command->add_flag("--json", top->asJson, "Write each answer as one line of JSON");
    command->callback([top, &options] {
        const AdminClient client = clientFor(options);
        if (top->count == 0 && ::isatty(STDOUT_FILENO) == 0)
            top->count = 1;
        top->show([&] { return client.get("/sessions"); },
                  [](const Json& answer) { return topScreen(answer, rowsOnScreen()); });
    });
}

}  // namespace

void addSessionCommands(CLI::App& app, const GlobalOptions& options) {
    addSessions(app, options);
    CLI::App* group = app.add_subcommand("session", "Show, explain or end one session");
    group->require_subcommand(1)->fallthrough()->footer(kSessionFooter);
    addShow(*group, options, "show", "Show everything about a session", sessionText);
    addShow(*group, options, "explain", "Say why an NMS is slow, and what to do", explanationText);
    addEnd(*group, options);
    addDrain(app, options);
    addTop(app, options);
}

}  // namespace kelp::ctl
