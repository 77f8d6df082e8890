#include "events/event_follower.h"

#include <fmt/core.h>
#include <kelp/nms/error.h>

#include <algorithm>

#include "events/backoff.h"

namespace kelp::nms {

namespace {

double inSeconds(EventFollower::Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

bool isForGood(const NmsError& refusal) {
    if (dynamic_cast<const FilterRefused*>(&refusal) != nullptr)
        return true;
    const auto* login = dynamic_cast<const LoginRefused*>(&refusal);
    return login != nullptr && login->exceptionType() == globaldefs::EXCPT_ACCESS_DENIED;
}

}  // namespace

EventFollower::End EventFollower::run() {
    if (settings_.limit)
        deadline_ = Clock::now() + *settings_.limit;
    std::unique_ptr<EventLink> link = openLink();
    for (;;) {
        LinkLoss loss;
        if (const auto over = follow(*link, loss)) {
            leave(*link);
            return *over;
        }
        const auto lastSign = std::max(lastAnswer_, observer_.lastSign());
        signals_->setConnected(false);
        observer_.lost(loss.why);
        giveUp(*link, loss);
        link.reset();
        if (!settings_.reconnect)
            return End::Lost;
        link = reopenLink();
        if (link == nullptr)
            return *end();
        observer_.reconnected(
            std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - lastSign));
    }
}

void EventFollower::leave(EventLink& link) {
    try {
        link.leave();
    } catch (const NmsError& problem) {
        observer_.notLeft(problem.what());
    }
}

std::unique_ptr<EventLink> EventFollower::openLink() {
    observer_.connecting();
    auto link = open_([signals = signals_, number = signals_->beginLink()](const LinkLoss& loss) {
        signals->lost(number, loss);
    });
    signals_->setConnected(true);
    lastAnswer_ = Clock::now();
    observer_.connected();
    return link;
}

std::unique_ptr<EventLink> EventFollower::reopenLink() {
    Backoff backoff(settings_.firstPause, settings_.longestPause);
    for (;;) {
        const auto pause = backoff.next();
        observer_.pausing(pause);
        signals_->waitUntil(std::min(Clock::now() + pause, deadline_), false);
        if (end())
            return nullptr;
        try {
            return openLink();
        } catch (const NmsError& problem) {
            if (isForGood(problem))
                throw;
            observer_.failed(problem.what());
        }
    }
}

std::optional<EventFollower::End> EventFollower::follow(EventLink& link, LinkLoss& loss) {
    for (;;) {
        if (const auto over = end())
            return over;
        std::optional<LinkLoss> seen = signals_->loss();
        if (!seen)
            seen = lossSeen(link);
        if (seen) {
            loss = *seen;
            return std::nullopt;
        }
        const auto nextLook = std::min(Clock::now() + settings_.lookInterval, deadline_);
        signals_->waitUntil(nextLook, true);
        if (Clock::now() > nextLook + settings_.sleepNoticed)
            observer_.stoodStill();
    }
}

std::optional<LinkLoss> EventFollower::lossSeen(EventLink& link) {
    const auto now = Clock::now();
    if (const auto overdue = observer_.overdueAt(); overdue && now >= *overdue)
        return LinkLoss{fmt::format("a heartbeat is overdue: no event for {:.1f} s",
                                    inSeconds(now - observer_.lastSign())),
                        false};
    if (now < lastAnswer_ + settings_.checkInterval && !link.wantsCheck())
        return std::nullopt;
    try {
        link.check();
        lastAnswer_ = Clock::now();
        return std::nullopt;
    } catch (const NmsError& problem) {
        return LinkLoss{problem.what(), true};
    }
}

/// Leave the link in order if the EMS still answers. Otherwise there is nothing left to leave.
void EventFollower::giveUp(EventLink& link, const LinkLoss& loss) {
    if (loss.sessionIsGone)
        return;
    try {
        link.check();
        link.leave();
    } catch (const NmsError&) {
        // the session or the EMS is gone
    }
}

std::optional<EventFollower::End> EventFollower::end() {
    if (signals_->isEnough())
        return End::Enough;
    if (signals_->isInterrupted())
        return End::Interrupted;
    if (Clock::now() >= deadline_)
        return End::TimeOver;
    return std::nullopt;
}

}  // namespace kelp::nms
