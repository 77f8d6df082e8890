#include "operator/session_ending.h"

#include <kelp/agent/session_mgr.h>
#include <kelp/orb/timeouts.h>

#include <chrono>

#include "adapter/session_source.h"
#include "session/ems_session_impl.h"
#include "util/containment.h"
#include "util/servant_ref.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionending";
/// Time that one NMS gets to learn that its session ends. A frozen NMS must not keep the operator
/// waiting.
constexpr std::chrono::milliseconds kNoticeLimit{1000};

void notify(const SessionSource& source) {
    const kelp::orb::ScopedThreadTimeout limit(kNoticeLimit);
    const nmsSession::NmsSession_I_var nms = source.get_nms_session();
    if (!CORBA::is_nil(nms.in()))
        nms->endSession();
}

}  // namespace

bool endForOperator(const ServantRef<EmsSession_IImpl>& session, const std::string& by) {
    SessionSource* const source = session->source();
    // one step, so that of several ends of a session only one takes place
    if (source == nullptr || (!source->endFrom(Normal, EndReason::Operator, by) &&
                              !source->endFrom(SilentWaiting, EndReason::Operator, by)))
        return false;
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[endForOperator] The operator ends the session of user<%s>,ip<%s>.",
                      source->get_user_name().c_str(), source->get_ip_and_port().c_str());
    contained(kSubject, "[endForOperator]", [&] { notify(*source); });
    if (SessionMgr* const sessions = SessionMgr::Existing())
        sessions->Unlist(session.get());
    session->wakePoint().wake();
    TASessionSource::check_valid(source);
    source->logOutOnce();
    return true;
}

}  // namespace NS_KELPCORBA
