#include "adapter/session_life.h"

#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/orb/request.h>
#include <kelp/util/trace_log.h>

#include <algorithm>

#include "history/session_history.h"

namespace NS_KELPCORBA {
namespace {

using kelp::util::MutexLock;

/// The last call's share of the average.
constexpr int kAverageOver = 8;
constexpr std::size_t kNameBytesMax = 1024;
constexpr std::size_t kErrorBytesMax = 300;

SessionRecord begunNow(const std::string& user, const std::string& nms) {
    SessionRecord session;
    session.number = SessionHistory::instance().nextNumber();
    session.user = kelp::util::escaped(user, kNameBytesMax);
    session.nms = kelp::util::escaped(nms, kNameBytesMax);
    session.peer = kelp::util::escaped(kelp::orb::currentPeer().withPort, kNameBytesMax);
    session.tlsPeer = kelp::util::escaped(kelp::orb::currentPeerSubject(), kNameBytesMax);
    session.started = utcNow();
    return session;
}

std::uint64_t above(std::uint64_t value, std::uint64_t before) {
    return value < before ? value : value - before;
}

}  // namespace

SessionLife::SessionLife(const std::string& user, const std::string& nms)
    : begun_(begunNow(user, nms)) {}

void SessionLife::pinged(std::chrono::microseconds duration, const std::string& error) {
    const MutexLock lock(mutex_);
    ++pings_.pings;
    pings_.last = utcNow();
    pings_.lastDuration = duration;
    if (!error.empty()) {
        ++pings_.failed;
        pings_.lastError = kelp::util::escaped(error, kErrorBytesMax);
        return;
    }
    const bool isFirst = pings_.longest == std::chrono::microseconds(0);
    pings_.shortest = isFirst ? duration : std::min(pings_.shortest, duration);
    pings_.average =
        isFirst ? duration : pings_.average + (duration - pings_.average) / kAverageOver;
    pings_.longest = std::max(pings_.longest, duration);
}

PingFigures SessionLife::pings() const {
    const MutexLock lock(mutex_);
    return pings_;
}

void SessionLife::endFor(EndReason reason, const std::string& by) {
    const MutexLock lock(mutex_);
    if (reason_ != EndReason::None || end_)
        return;
    reason_ = reason;
    by_ = by;
}

void SessionLife::enterHistory(const std::string& sessionName) {
    const auto ended = NS_CORBA::SuppilerMgr::Instance()->EndedConsumersOf(sessionName);
    SessionHistory::instance().note(begun_);
    bool hasEnded = false;
    {
        const MutexLock lock(mutex_);
        before_ = {ended.sent, ended.delivered, ended.lost, 0};
        sessionName_ = sessionName;
        hasEnded = end_.has_value();
    }
    if (hasEnded)
        noteEnd();
}

void SessionLife::leave(std::uint64_t calls) {
    {
        const MutexLock lock(mutex_);
        end_ = begun_;
        end_->ended = utcNow();
        end_->reason = reason_ == EndReason::None ? EndReason::Failed : reason_;
        end_->by = reason_ == EndReason::None ? "EMS" : by_;
        end_->calls = calls;
        if (sessionName_.empty())
            return;
    }
    noteEnd();
}

void SessionLife::noteEnd() {
    SessionRecord end;
    std::string name;
    EventFigures before;
    {
        const MutexLock lock(mutex_);
        end = *end_;
        name = sessionName_;
        before = before_;
    }
    SessionHistory::instance().note(
        end, [name, before](SessionRecord& record) { record.events = eventsOf(name, before); });
}

EventFigures SessionLife::eventsBefore() const {
    const MutexLock lock(mutex_);
    return before_;
}

EventFigures eventsOf(const std::string& sessionName, const EventFigures& before) {
    const NS_CORBA::SuppilerMgr& suppliers = *NS_CORBA::SuppilerMgr::Instance();
    // the living first: a consumer that ends in between is counted twice rather than not at all
    EventFigures living;
    for (const auto& each : suppliers.Consumers()) {
        if (each.owner != sessionName)
            continue;
        living.sent += each.sent;
        living.delivered += each.delivered;
        living.lost += each.lost;
        living.queued += each.queued;
    }
    const auto ended = suppliers.EndedConsumersOf(sessionName);
    return {living.sent + above(ended.sent, before.sent),
            living.delivered + above(ended.delivered, before.delivered),
            living.lost + above(ended.lost, before.lost), living.queued};
}

}  // namespace NS_KELPCORBA
