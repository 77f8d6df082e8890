#include "app/session_commands.h"

#include <chrono>
#include <memory>
#include <optional>

#include "app/chosen_factory.h"
#include "app/exit_codes.h"
#include "app/handling.h"
#include "app/log_out.h"
#include "app/seconds_option.h"
#include "app/watch.h"
#include "app/with_session.h"

namespace kelp::nms {

namespace {

struct PingOptions {
    unsigned count = 1;
};

struct EmsOptions {
    bool capabilities = false;
};

struct WatchOptions {
    unsigned count = 0;                                 ///< pings to wait for; 0: no limit
    std::optional<std::chrono::milliseconds> duration;  ///< how long to watch; none: no limit
};

int find(const CommandContext& context) {
    const FoundFactory factory = chosenFactory(context.client, context.options, *context.report);
    context.report->factory(factory, context.client.interfaceVersion(factory));
    return kDone;
}

int listManagers(NmsSession& session, Report& report) {
    report.managers(session.managerNames());
    return kDone;
}

int pingEms(NmsSession& session, unsigned count, Report& report) {
    for (unsigned number = 1; number <= count; ++number) {
        const auto begin = std::chrono::steady_clock::now();
        session.ping();
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - begin;
        report.pinged(number, took.count());
    }
    return kDone;
}

int showEms(NmsSession& session, bool withCapabilities, Report& report) {
    const emsMgr::EMSMgr_I_var manager = session.managerAs<emsMgr::EMSMgr_I>("EMS");
    emsMgr::EMS_T_var ems;
    NmsSession::call("getEMS", [&] { manager->getEMS(ems.out()); });
    common::CapabilityList_T_var capabilities;
    if (withCapabilities)
        NmsSession::call("getCapabilities", [&] { manager->getCapabilities(capabilities.out()); });
    report.ems(ems.in(), withCapabilities ? &capabilities.in() : nullptr);
    return kDone;
}

int exitCodeOf(Watch::End end, const WatchOptions& options) {
    switch (end) {
        case Watch::End::EndedByEms:
            Report::error("the EMS ended the session");
            return kWatchCutShort;
        case Watch::End::TimeOver:
            if (options.count == 0)
                break;  // no number of pings was requested
            Report::error("the time was over before the number of pings of --count had arrived");
            return kWatchCutShort;
        case Watch::End::Enough:
        case Watch::End::Interrupted:
            break;
    }
    return kDone;
}

int watchEms(const CommandContext& context, const WatchOptions& options) {
    const FoundFactory factory = awaitedFactory(context.client, context.options, *context.report);
    const auto watch = std::make_shared<Watch>(context.report, options.count);
    // from here on, Ctrl-C ends the session before the program exits
    const Handling handling(context.interrupts, [watch] {
        watch->interrupt();
        return kTimeToLeave;
    });
    const auto session =
        context.client.logIn(factory, context.options.user, context.password, watch);
    context.report->step("logged in as " + context.options.user);
    const int exitCode = exitCodeOf(watch->wait(options.duration), options);
    if (!watch->endedByEms())
        logOut(*session, context.options.timeout, *context.report);
    return exitCode;
}

}  // namespace

void addFindCommand(CLI::App& app, SelectedCommand& selected) {
    app.add_subcommand("find",
                       "Find the session factory and show its name, address and version, without a "
                       "log-in")
        ->callback([&selected] {
            selected = {false, find};
        });
}

void addManagersCommand(CLI::App& app, SelectedCommand& selected) {
    app.add_subcommand("managers", "Log in and list the EMS's managers")->callback([&selected] {
        selected = {true, [](const CommandContext& context) {
                        return withSession(context, [&](NmsSession& session) {
                            return listManagers(session, *context.report);
                        });
                    }};
    });
}

void addPingCommand(CLI::App& app, SelectedCommand& selected) {
    const auto options = std::make_shared<PingOptions>();
    CLI::App* ping = app.add_subcommand("ping", "Log in and ping the EMS");
    ping->add_option("--count", options->count, "Number of pings")
        ->capture_default_str()
        ->check(CLI::Range(1u, 1000000u));
    ping->callback([&selected, options] {
        selected = {true, [options](const CommandContext& context) {
                        return withSession(context, [&](NmsSession& session) {
                            return pingEms(session, options->count, *context.report);
                        });
                    }};
    });
}

void addEmsCommand(CLI::App& app, SelectedCommand& selected) {
    const auto options = std::make_shared<EmsOptions>();
    CLI::App* ems =
        app.add_subcommand("ems", "Log in and show the EMS's description of itself (getEMS)");
    ems->add_flag("--capabilities", options->capabilities,
                  "Show the manager's operations too (getCapabilities)");
    ems->callback([&selected, options] {
        selected = {true, [options](const CommandContext& context) {
                        return withSession(context, [&](NmsSession& session) {
                            return showEms(session, options->capabilities, *context.report);
                        });
                    }};
    });
}

void addWatchCommand(CLI::App& app, SelectedCommand& selected) {
    const auto options = std::make_shared<WatchOptions>();
    CLI::App* watch =
        app.add_subcommand("watch", "Stay logged in and show each call of the EMS until Ctrl-C");
    watch->add_option("--count", options->count, "Leave after this number of pings")
        ->check(CLI::Range(1u, 1000000u));
    addSecondsOption(*watch, "--for", 0.1, options->duration, "Leave after this number of seconds");
    watch->callback([&selected, options] {
        selected = {
            true, [options](const CommandContext& context) { return watchEms(context, *options); }};
    });
}

}  // namespace kelp::nms
