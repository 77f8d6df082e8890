#include "operator/session_figures.h"

#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/supplier_mgr.h>

#include <map>
#include <utility>

#include "adapter/session_source.h"
#include "session/ems_session_impl.h"
#include "util/servant_ref.h"

namespace NS_KELPCORBA {
namespace {

using ConsumersByOwner = std::multimap<std::string, kelp::notification::ConsumerCounts>;

ConsumersByOwner allConsumers() {
    ConsumersByOwner byOwner;
    for (auto& each : NS_CORBA::SuppilerMgr::Instance()->Consumers())
        byOwner.emplace(each.owner, std::move(each));
    return byOwner;
}

std::uint64_t grownBy(std::uint64_t now, std::uint64_t before) {
    return now < before ? now : now - before;
}

void addEvents(SessionFigures& figures, const EventFigures& before) {
    const auto ended = NS_CORBA::SuppilerMgr::Instance()->EndedConsumersOf(figures.name);
    figures.events = {grownBy(ended.sent, before.sent), grownBy(ended.delivered, before.delivered),
                      grownBy(ended.lost, before.lost), 0};
    for (const auto& each : figures.consumers) {
        figures.events.sent += each.sent;
        figures.events.delivered += each.delivered;
        figures.events.lost += each.lost;
        figures.events.queued += each.queued;
    }
}

SessionFigures figuresOf(const SessionSource& source, const ConsumersByOwner& consumers,
                         SessionMgr& sessions) {
    SessionFigures figures;
    figures.begun = source.life().begun();
    figures.name = source.get_session_name();
    figures.state = source.get_state();
    figures.unansweredPings = source.get_ping_failures();
    figures.pings = source.life().pings();
    figures.calls = source.calls();
    figures.iterators = sessions.IteratorCountOf(figures.name);
    const auto [first, last] = consumers.equal_range(figures.name);
    for (auto each = first; each != last; ++each)
        figures.consumers.push_back(each->second);
    addEvents(figures, source.life().eventsBefore());
    return figures;
}

}  // namespace

std::vector<SessionFigures> listedSessions(std::optional<std::uint64_t> number) {
    std::vector<SessionFigures> all;
    SessionMgr* const sessions = SessionMgr::Existing();
    if (sessions == nullptr)
        return all;
    const ConsumersByOwner consumers = allConsumers();
    for (const ServantRef<EmsSession_IImpl>& each : sessions->PinSessions()) {
        const SessionSource* const source = each->source();
        if (source != nullptr && (!number || source->life().number() == *number))
            all.push_back(figuresOf(*source, consumers, *sessions));
    }
    return all;
}

ServantRef<EmsSession_IImpl> sessionWith(std::uint64_t number) {
    if (SessionMgr* const sessions = SessionMgr::Existing()) {
        for (ServantRef<EmsSession_IImpl>& each : sessions->PinSessions()) {
            if (each->source() != nullptr && each->source()->life().number() == number)
                return std::move(each);
        }
    }
    return {};
}

std::string stateWord(std::int32_t state) {
    switch (state) {
        case Normal:
            return "normal";
        case SilentWaiting:
            return "silent";
        case Invalid:
            return "dead";
        default:
            return "ending";
    }
}

}  // namespace NS_KELPCORBA
