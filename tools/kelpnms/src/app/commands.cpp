#include "app/commands.h"

#include <chrono>

#include "app/chosen_factory.h"
#include "app/exit_codes.h"
#include "app/handling.h"
#include "app/log_out.h"
#include "app/password.h"
#include "app/watch.h"
#include "events/follow_events.h"
#include "upload/upload.h"

namespace kelp::nms {

namespace {

/// Time that an interrupted program has to leave. It then exits even if the EMS has not answered.
constexpr std::chrono::milliseconds kTimeToLeave{10000};

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

int watchEms(const std::shared_ptr<Watch>& watch, const Options& options) {
    switch (watch->wait(options.duration)) {
        case Watch::End::EndedByEms:
            Report::error("the EMS ended the session");
            return kWatchCutShort;
        case Watch::End::TimeOver:
            if (options.count == 0)
                break;  // no number of pings was requested
            Report::error("the time was over before the wanted number of pings had come");
            return kWatchCutShort;
        case Watch::End::Enough:
        case Watch::End::Interrupted:
            break;
    }
    return kDone;
}

int useSession(NmsSession& session, const std::shared_ptr<Watch>& watch, const Options& options,
               Report& report) {
    switch (options.command) {
        case Command::Managers:
            return listManagers(session, report);
        case Command::Ping:
            return pingEms(session, options.count, report);
        case Command::Ems:
            return showEms(session, options.capabilities, report);
        case Command::Watch:
            return watchEms(watch, options);
        default:
            return kInternalError;  // the other commands do not come here
    }
}

int runSession(NmsClient& client, const FoundFactory& factory, const Options& options,
               const std::string& password, const std::shared_ptr<Report>& report,
               Interrupts& interrupts) {
    const bool isWatch = options.command == Command::Watch;
    const auto watch = std::make_shared<Watch>(report, isWatch ? options.count : 0);
    // from here on, Ctrl-C ends the session before the program exits
    const Handling handling(interrupts, [watch] {
        watch->interrupt();
        return kTimeToLeave;
    });
    const auto session = client.logIn(factory, options.user, password, isWatch ? watch : nullptr);
    report->step("logged in as " + options.user);
    const int exitCode = useSession(*session, watch, options, *report);
    if (!watch->endedByEms())
        logOut(*session, options.timeout, *report);
    return exitCode;
}

bool isList(Command command) {
    switch (command) {
        case Command::Elements:
        case Command::Ports:
        case Command::Equipment:
        case Command::Links:
        case Command::Dump:
            return true;
        default:
            return false;
    }
}

NmsSettings settingsOf(const Options& options) {
    NmsSettings settings;
    settings.naming = options.naming;
    settings.listen = options.listen;
    settings.timeout = options.timeout;
    if (!options.tlsAuthorities.empty())
        settings.tls = NmsTls{options.tlsAuthorities, options.tlsKeyFile,
                              readKeyPassword(options.tlsKeyPasswordFile).text(),
                              options.tlsChecksName, options.tlsName};
    return settings;
}

}  // namespace

int runCommand(const Options& options, const std::string& password,
               const std::shared_ptr<Report>& report, Interrupts& interrupts) {
    NmsClient client(settingsOf(options));
    if (options.command == Command::Events)
        return followEvents(client, options, password, report, interrupts);
    if (isList(options.command))
        return upload(client, options, password, report, interrupts);
    if (options.command == Command::Find) {
        const FoundFactory factory = chosenFactory(client, options, *report);
        report->factory(factory, client.interfaceVersion(factory));
        return kDone;
    }
    const FoundFactory factory = awaitedFactory(client, options, *report);
    return runSession(client, factory, options, password, report, interrupts);
}

}  // namespace kelp::nms
