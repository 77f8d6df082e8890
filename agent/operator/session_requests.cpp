#include "operator/session_requests.h"

#include <kelp/admin/registry.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/orb/round_trip.h>
#include <kelp/util/trace_log.h>

#include <charconv>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "history/session_history.h"
#include "operator/drain.h"
#include "operator/ended_query.h"
#include "operator/session_ending.h"
#include "operator/session_explanation.h"
#include "operator/session_figures.h"
#include "operator/session_json.h"
#include "session/ems_session_impl.h"
#include "session/log_in_gate.h"
#include "util/servant_ref.h"

namespace NS_KELPCORBA {
namespace {

using kelp::admin::Registration;
using kelp::admin::Request;
using kelp::admin::RequestError;
using NS_BUNDLEMGR1::ConfigStore;

constexpr std::size_t kTextBytesMax = 200;
constexpr const char* kUnnamedOperator = "operator";

std::vector<Registration> theRegistrations;
std::unique_ptr<Drain> theDrain;

/// An optional text that the operator gives, made fit for logs and terminals.
std::string checkedText(const std::string& name, const std::string& text) {
    if (text.size() > kTextBytesMax)
        throw RequestError(name + " must have at most " + std::to_string(kTextBytesMax) +
                           " octets");
    return kelp::util::escaped(text, kTextBytesMax);
}

std::string operatorIn(const std::string& text) {
    const std::string by = checkedText("by", text);
    return by.empty() ? kUnnamedOperator : by;
}

std::string memberOf(const Json& body, const char* name) {
    if (body.is_null() || !body.contains(name))
        return {};
    if (!body[name].is_string())
        throw RequestError(std::string(name) + " must be a text", RequestError::kBadRequest,
                           std::string("/") + name);
    return checkedText(name, body[name].get<std::string>());
}

std::uint64_t numberIn(const Request& request) {
    std::uint64_t number = 0;
    const std::string& item = request.item;
    const auto [end, error] = std::from_chars(item.data(), item.data() + item.size(), number);
    if (error != std::errc() || end != item.data() + item.size())
        throw RequestError("\"" + kelp::util::escaped(item, 100) + "\" is no session's number",
                           RequestError::kNotFound);
    return number;
}

/// Refuse a request for a session that is not live.
[[noreturn]] void refuseMissing(std::uint64_t number) {
    std::optional<SessionRecord> ended;
    try {
        ended = SessionHistory::instance().endedWith(number);
    } catch (const std::exception&) {  // then it is only unknown
    }
    if (ended)
        throw RequestError("session " + std::to_string(number) + " ended at " +
                               utcText(ended->ended) + ": " + std::string(wordOf(ended->reason)) +
                               ", by " + ended->by,
                           RequestError::kGone);
    throw RequestError("there is no session " + std::to_string(number), RequestError::kNotFound);
}

Json tellSessions(const Json&) {
    Json all = Json::array();
    for (const SessionFigures& each : listedSessions())
        all.push_back(jsonOf(each));
    const SessionMgr* const sessions = SessionMgr::Existing();
    return {{"sessions", std::move(all)},
            {"roundMs", sessions == nullptr ? 0 : sessions->LastRound().count()},
            {"draining", LogInGate::instance().closing().has_value()}};
}

/// The address in "address:port" or "[address]:port".
std::string addressIn(const std::string& hostAndPort) {
    std::string address = hostAndPort.substr(0, hostAndPort.rfind(':'));
    if (address.size() > 1 && address.front() == '[' && address.back() == ']')
        address = address.substr(1, address.size() - 2);
    return address;
}

Json tellSession(const Request& request) {
    const std::uint64_t number = numberIn(request);
    const std::vector<SessionFigures> found = listedSessions(number);
    if (found.empty())
        refuseMissing(number);
    const SessionFigures& session = found.front();
    Json json = jsonOf(session);
    for (std::size_t i = 0; i < session.consumers.size(); ++i)
        json["consumers"][i]["subscription"] =
            jsonOf(NS_CORBA::SuppilerMgr::Instance()->SubscriptionOf(session.consumers[i].admin,
                                                                     session.consumers[i].proxy));
    const ExplanationContext context{
        kelp::orb::roundTripTo(addressIn(session.begun.nms)),
        std::chrono::seconds(ConfigStore::instance().integer("session.call_timeout_s"))};
    json["networkMs"] =
        context.network ? Json(static_cast<double>(context.network->count()) / 1000) : Json();
    json["explanation"] = jsonOf(explain(session, context));
    return json;
}

Json endSession(const Request& request) {
    const std::uint64_t number = numberIn(request);
    const auto by = request.parameters.find("by");
    const std::string who = operatorIn(by == request.parameters.end() ? "" : by->second);
    const ServantRef<EmsSession_IImpl> session = sessionWith(number);
    if (!session || !endForOperator(session, who))
        refuseMissing(number);
    return {{"number", number}, {"reason", wordOf(EndReason::Operator)}, {"by", who}};
}

Json tellEnded(const Request& request) {
    const EndedFilter filter = endedFilterOf(request.parameters);
    std::vector<SessionRecord> found;
    SessionHistory& history = SessionHistory::instance();
    try {
        found = history.ended(filter);
    } catch (const std::exception& failure) {
        throw RequestError("the ended sessions cannot be read: " +
                               kelp::util::escaped(failure.what(), kTextBytesMax),
                           RequestError::kUnavailable);
    }
    Json all = Json::array();
    for (const SessionRecord& each : found)
        all.push_back(jsonOf(each));
    return {
        {"sessions", std::move(all)}, {"dropped", history.dropped()}, {"fails", history.fails()}};
}

Json tellDrain(const Json&) {
    const std::optional<LogInGate::Closing> closing = LogInGate::instance().closing();
    SessionMgr* const sessions = SessionMgr::Existing();
    const std::size_t left = sessions == nullptr ? 0 : sessions->SessionCount();
    return {{"state", !closing    ? "off"
                      : left == 0 ? "drained"
                                  : "draining"},
            {"since", closing ? utcText(closing->since) : ""},
            {"by", closing ? closing->by : ""},
            {"reason", closing ? closing->reason : ""},
            {"sessionsLeft", left},
            {"ended", theDrain->ended()}};
}

Json beginDrain(const Json& body) {
    if (!body.is_null() && !body.is_object())
        throw RequestError("the request must be an object");
    const std::string reason = memberOf(body, "reason");
    if (!theDrain->begin(reason, operatorIn(memberOf(body, "by"))))
        throw RequestError("the host is being drained already", RequestError::kConflict);
    return tellDrain({});
}

Json endDrain(const Json&) {
    if (!theDrain->end())
        throw RequestError("the host is not being drained", RequestError::kConflict);
    return tellDrain({});
}

std::filesystem::path historyFile() {
    const std::string configured = ConfigStore::instance().text("session.history");
    return configured.empty() ? NS_BUNDLEMGR1::defaultStateDirectory() / "sessions.db"
                              : std::filesystem::path(configured);
}

HistoryLimits historyLimits() {
    const ConfigStore& config = ConfigStore::instance();
    return {std::chrono::days(config.integer("session.history_days")),
            static_cast<std::size_t>(config.integer("session.history_rows"))};
}

}  // namespace

void openSessionHistory() {
    SessionHistory::instance().open(historyFile(), historyLimits);
}

void closeSessionHistory() {
    SessionHistory::instance().close();
}

void enterSessionRequests() {
    kelp::admin::Registry& registry = kelp::admin::Registry::instance();
    theDrain = std::make_unique<Drain>();
    theRegistrations.push_back(registry.enter("GET", "/sessions", tellSessions));
    theRegistrations.push_back(
        registry.enter("GET", "/sessions/ended", endedParameters(), tellEnded));
    theRegistrations.push_back(registry.enter("GET", "/sessions/*", {}, tellSession));
    theRegistrations.push_back(registry.enter("DELETE", "/sessions/*", {"by"}, endSession));
    theRegistrations.push_back(registry.enter("GET", "/drain", tellDrain));
    theRegistrations.push_back(registry.enter("POST", "/drain", beginDrain));
    theRegistrations.push_back(registry.enter("DELETE", "/drain", endDrain));
}

void leaveSessionRequests() {
    theRegistrations.clear();
    theDrain.reset();
}

}  // namespace NS_KELPCORBA
