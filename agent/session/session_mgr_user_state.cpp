// Ends the session of a user whose account became invalid.

#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>

#include "adapter/session_source.h"
#include "session/ems_session_impl.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionmgr";

}  // namespace

void BaseSSHandler::DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData* data) {
    if (eventId != NS_BUNDLEMGR1::kUserStateChangeEvent || data == nullptr)
        return;
    const std::string ip = NS_BUNDLEMGR1::GetValByKey(data->values, "IP");
    const std::string port = NS_BUNDLEMGR1::GetValByKey(data->values, "PORT");
    const std::string user = NS_BUNDLEMGR1::GetValByKey(data->values, "USN");
    if (ip.empty() || port.empty() || user.empty())
        return;
    const std::string hostInfo = ip + ":" + port;
    SessionMgr* sessions = SessionMgr::Instance();
    EmsSession_IImpl* session = sessions->GetNmsSession(hostInfo, user);
    if (session == nullptr) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[BaseSSHandler::DoWork]: GetNmsSession <NmsHostInfo = %s, UserName = %s> failed!\n",
            hostInfo.c_str(), user.c_str());
        return;
    }
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[BaseSSHandler::DoWork]: User <NmsHostInfo = %s, UserName = %s> state change to Invalid, "
        "session "
        "will be "
        "end!\n",
        hostInfo.c_str(), user.c_str());
    if (SessionSource* const source = session->source())
        source->life().endFor(EndReason::UserDisabled, "account administration");
    try {
        session->endSession();
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[BaseSSHandler::DoWork]: endSession <NmsHostInfo = %s, UserName = %s> exception: %s\n",
            hostInfo.c_str(), user.c_str(), kelp::orb::exceptionText(ex).c_str());
    } catch (...) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[BaseSSHandler::DoWork]: endSession <NmsHostInfo = %s, UserName = %s> unk exception\n",
            hostInfo.c_str(), user.c_str());
    }
    sessions->RemoveRefLocked(session);
}

}  // namespace NS_KELPCORBA
