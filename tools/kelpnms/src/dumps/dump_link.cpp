#include "dumps/dump_link.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "app/report.h"
#include "dumps/dump_rewrite.h"
#include "text/output.h"
#include "upload/network_dump.h"

namespace kelp::nms {

namespace {

/// Pause after a dump or a change of the file as a multiple of the time that it took, with its
/// limits.
constexpr int kDumpPauseFactor = 10;
constexpr std::chrono::milliseconds kDumpPauseLeast{1000};
constexpr std::chrono::milliseconds kDumpPauseMost{60000};

}  // namespace

DumpLink::DumpLink(std::unique_ptr<EmsEventLink> link, std::shared_ptr<DumpFollow> follow,
                   const DumpOptions& options)
    : link_(std::move(link)), follow_(std::move(follow)), options_(options) {
    follow_->askForDump();
    try {
        bringUpToDate();
    } catch (const NmsError&) {
        leaveAfterFailure();
        throw;
    }
}

void DumpLink::check() {
    link_->check();
    if (wantsCheck())
        bringUpToDate();
}

bool DumpLink::wantsCheck() {
    return Clock::now() >= next_ && (follow_->wantsDump() || follow_->hasChanges());
}

void DumpLink::leave() {
    if (isDumped_ && !follow_->wantsDump() && follow_->hasChanges())
        writeChanges();
    link_->leave();
}

void DumpLink::bringUpToDate() {
    const auto begin = Clock::now();
    try {
        if (follow_->wantsDump())
            dump();
        else
            writeChanges();
    } catch (const CannotWrite&) {
        leaveAfterFailure();
        throw;
    }
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
    next_ = Clock::now() + std::clamp(took * kDumpPauseFactor, kDumpPauseLeast, kDumpPauseMost);
}

void DumpLink::dump() {
    isDumped_ = false;
    const std::shared_ptr<WalkProgress> progress = follow_->beginDump();
    NetworkDump dump(options_, *progress);
    try {
        dump.run(link_->session());
        isDumped_ = true;
        progress->tell(options_.file + " is complete; following the changes");
    } catch (const Interrupted&) {
        progress->tell("interrupted: " + dump.cutShort());
    } catch (const NmsError&) {
        progress->hideBar();
        throw;
    }
}

void DumpLink::writeChanges() {
    try {
        rewriteDump(options_.file, follow_->takeChanges());
    } catch (const NotADump& problem) {
        Report::error(options_.file + ": " + problem.what() + "; the network is dumped again");
        follow_->askForDump();
    }
}

void DumpLink::leaveAfterFailure() {
    try {
        link_->leave();
    } catch (const NmsError&) {
        // the failure before says more
    }
}

}  // namespace kelp::nms
