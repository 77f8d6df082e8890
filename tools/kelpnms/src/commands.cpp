#include "commands.h"

#include "event_view.h"
#include "exit_codes.h"
#include "password.h"
#include "watch.h"

#include <kelp/nms/event_stream.h>

#include <chrono>

namespace kelp::nms {

namespace {

int listManagers(NmsSession& session, Report& report) {
    report.managers(session.managerNames());
    return kDone;
}

int pingEms(NmsSession& session, unsigned count, Report& report) {
    for (unsigned number = 1; number <= count; ++number) {
        const auto begin = std::chrono::steady_clock::now();
        session.ping();
        const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - begin;
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
                break;  // no number was wanted
            Report::error("the time was over before the wanted number of pings or events had come");
            return kWatchCutShort;
        case Watch::End::Enough:
        case Watch::End::Interrupted:
            break;
    }
    return kDone;
}

int watchEvents(NmsSession& session, PortableServer::POA_ptr poa, const std::shared_ptr<Watch>& watch,
                const Options& options, const std::shared_ptr<Report>& report) {
    const auto view =
        std::make_shared<EventView>(report, options.count, [watch](bool enough) { watch->over(enough); });
    const EventStream events(session, poa, {options.filter, options.sequences}, view);
    report->step("connected to the event channel");
    return watchEms(watch, options);
}

/// Takes the handler back when the session is over.
class Handling {
  public:
    Handling(Interrupts& interrupts, std::function<void()> handler) : interrupts_(interrupts) {
        interrupts_.setHandler(std::move(handler));
    }
    ~Handling() { interrupts_.setHandler(nullptr); }
    Handling(const Handling&) = delete;
    Handling& operator=(const Handling&) = delete;

  private:
    Interrupts& interrupts_;
};

int useSession(NmsSession& session, PortableServer::POA_ptr poa, const std::shared_ptr<Watch>& watch,
               const Options& options, const std::shared_ptr<Report>& reportOfAll) {
    Report& report = *reportOfAll;
    switch (options.command) {
        case Command::Managers:
            return listManagers(session, report);
        case Command::Ping:
            return pingEms(session, options.count, report);
        case Command::Ems:
            return showEms(session, options.capabilities, report);
        case Command::Watch:
            return watchEms(watch, options);
        case Command::Events:
            return watchEvents(session, poa, watch, options, reportOfAll);
        case Command::Find:
            break;
    }
    return kInternalError;
}

void leave(NmsSession& session, const Options& options, Report& report) {
    session.end();
    if (session.isGone(options.timeout))
        report.step("logged out");
    else
        report.step("log-out sent, but the EMS still knows the session");
}

}  // namespace

int runCommand(const Options& options, const std::shared_ptr<Report>& report, Interrupts& interrupts) {
    std::string password;
    if (options.command != Command::Find)
        password = readPassword(options.passwordFile, options.user);

    NmsClient client({options.naming, options.listen, options.timeout});
    const FoundFactory factory = options.factoryReference.empty()
                                     ? client.findFactory(options.factoryPath)
                                     : client.factoryByReference(options.factoryReference);
    if (options.command == Command::Find) {
        report->factory(factory, client.interfaceVersion(factory));
        return kDone;
    }
    report->step("session factory " + factory.path + " at " + factory.address);

    const auto watch = std::make_shared<Watch>(
        report, options.command == Command::Watch ? options.count : 0,
        options.command == Command::Watch ? Watch::Calls::AreShown : Watch::Calls::LossesAreShown);
    std::shared_ptr<NmsListener> listener;
    if (options.command == Command::Watch || options.command == Command::Events)
        listener = watch;
    // from here on Ctrl-C leaves in order: the session is ended first
    const Handling handling(interrupts, [watch] { watch->interrupt(); });
    const auto session = client.logIn(factory, options.user, password, listener);
    report->step("logged in as " + options.user);
    const int exitCode = useSession(*session, client.rootPoa(), watch, options, report);
    if (!watch->endedByEms())
        leave(*session, options, *report);
    return exitCode;
}

}  // namespace kelp::nms
