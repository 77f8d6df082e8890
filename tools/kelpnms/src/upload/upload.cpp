#include "upload/upload.h"

#include "app/chosen_factory.h"
#include "app/exit_codes.h"
#include "app/handling.h"
#include "app/log_out.h"
#include "upload/network_dump.h"
#include "upload/network_lists.h"

namespace kelp::nms {

namespace {

/// Time that an interrupted program has to leave. It then exits even if the EMS has not answered.
constexpr std::chrono::milliseconds kTimeToLeave{10000};

std::shared_ptr<NetworkTask> taskFor(const Options& options, WalkProgress& progress) {
    if (options.command == Command::Dump)
        return std::make_shared<NetworkDump>(options.lists, progress);
    return std::make_shared<NetworkLists>(options.command, options.lists, progress);
}

/// An EMS that is ending a session may still answer for it for a moment.
constexpr std::chrono::milliseconds kTimeToEnd{1000};

/// Whether a call failed because the EMS has ended the session: the EMS answers, but does not know
/// the session any more.
bool isEnded(NmsSession& session, const NmsError& failure) {
    const auto* call = dynamic_cast<const CallFailed*>(&failure);
    return call != nullptr && call->isOfUnknownObject() && session.isGone(kTimeToEnd);
}

int runTask(NetworkTask& task, NmsSession& session, WalkProgress& progress,
            const Interrupts& interrupts) {
    try {
        const bool isWhole = task.run(session);
        progress.hideBar();
        return isWhole ? kDone : kIncomplete;
    } catch (const Interrupted&) {
        progress.tell("interrupted: " + task.cutShort());
        return 128 + interrupts.signal();
    } catch (const NoSuchManager& problem) {
        progress.tell(problem.what());
        return kNoSuchManager;
    } catch (const NmsError& problem) {
        progress.tell(problem.what());
        progress.tell(task.cutShort());
        if (!isEnded(session, problem))
            return kCallFailed;
        progress.tell("the EMS has ended the session");
        session.abandon();
        return kWatchCutShort;
    } catch (const CannotWrite& problem) {
        progress.tell(problem.what());
        return kCannotWrite;
    }
}

}  // namespace

int upload(NmsClient& client, const Options& options, const std::string& password,
           const std::shared_ptr<Report>& report, Interrupts& interrupts) {
    const FoundFactory factory = awaitedFactory(client, options, *report);
    const auto progress = std::make_shared<WalkProgress>(contentOf(options.command));
    const auto task = taskFor(options, *progress);
    const Handling handling(
        interrupts,
        [progress] {
            progress->interrupt();
            return kTimeToLeave;
        },
        [task] { Report::error(task->cutShort()); });
    const auto session = client.logIn(factory, options.user, password);
    report->step("logged in as " + options.user);
    const int exitCode = runTask(*task, *session, *progress, interrupts);
    if (exitCode != kCallFailed && exitCode != kWatchCutShort)
        logOut(*session, options.timeout, *report);
    return exitCode;
}

}  // namespace kelp::nms
