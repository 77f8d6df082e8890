#include "upload/upload.h"

#include "app/chosen_factory.h"
#include "app/exit_codes.h"
#include "app/handling.h"
#include "app/log_out.h"
#include "text/output.h"
#include "upload/network_reader.h"

namespace kelp::nms {

namespace {

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

int upload(const CommandContext& context, const std::string& content, const MakeTask& makeTask) {
    const FoundFactory factory = awaitedFactory(context.client, context.options, *context.report);
    const auto progress = std::make_shared<WalkProgress>(content);
    const std::shared_ptr<NetworkTask> task = makeTask(*progress);
    const Handling handling(
        context.interrupts,
        [progress] {
            progress->interrupt();
            return kTimeToLeave;
        },
        [task] { Report::error(task->cutShort()); });
    const auto session = context.client.logIn(factory, context.options.user, context.password);
    context.report->step("logged in as " + context.options.user);
    const int exitCode = runTask(*task, *session, *progress, context.interrupts);
    if (exitCode != kCallFailed && exitCode != kWatchCutShort)
        logOut(*session, context.options.timeout, *context.report);
    return exitCode;
}

}  // namespace kelp::nms
