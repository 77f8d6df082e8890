#include "session/ems_session_factory_impl.h"

#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/error_translation.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/ior_parser.h>
#include <kelp/corbabase/lazy_instance.h>
#include <kelp/corbabase/ref_count.h>
#include <kelp/corbabase/security_mgr.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/poas.h>
#include <kelp/orb/request.h>
#include <kelp/util/secret.h>

#include <chrono>
#include <exception>
#include <new>
#include <optional>
#include <utility>

#include "adapter/claimed_poa_names.h"
#include "adapter/session_source.h"
#include "session/ems_session_impl.h"
#include "session/log_in_gate.h"
#include "session/silence_threads.h"
#include "util/base_config.h"
#include "util/servant_ref.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "emssessionfactoryimpl";
constexpr int kReleaseByLimit = 1;

using CountedSession = NS_CORBA::RefCount_OneParameter<EmsSession_IImpl, SessionSource*>;

constinit NS_CORBA::LazyInstance<EmsSessionFactory_IImpl> theFactory;

NS_CORBA::CorbaSecurityMgr& security() {
    return *NS_CORBA::CorbaSecurityMgr::Instance();
}

void traceNms(const char* format, const std::string& hostInfo, int line = __builtin_LINE()) {
    NS_CORBA::tracePoint(kSubject, line);
    NS_CORBA::TaTrace(format, hostInfo.c_str());
}

/// The root POA; nil while no ORB runs.
PortableServer::POA_ptr rootPoa() {
    try {
        return baseConfig().GetRootPoa();
    } catch (const CORBA::BAD_INV_ORDER&) {
        return PortableServer::POA::_nil();
    }
}

/// Refuse the NMS's reference. The exception names the address in it, for whoever sets up the NMS.
/// `address` is empty for a reference without one.
void refuseReference(const std::string& address) {
    if (address.empty())
        ThrowException(kUnparsableReference);
    ThrowException(kUnparsableReference, "client names " + address + " and calls from " +
                                             kelp::orb::currentPeer().text +
                                             ", which [access] nms_reference does not allow");
}

/// Return "address:port" of the NMS's own session object. A bad reference is refused before any
/// session is touched: with another NMS's address the log-in would end that NMS's session.
std::string hostInfoOf(nmsSession::NmsSession_I_ptr client) {
    NS_CORBA::IOR_Parser parser;
    std::string hostInfo;
    std::string refusedAddress;
    if (!parser.GetHostInfo(client, hostInfo) ||
        !baseConfig().IsValidNmsReference(client, &refusedAddress)) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[EmsSessionFactory_IImpl::getEmsSession] Parser NMSSession_I object reference "
            "failed!");
        refuseReference(refusedAddress);
    }
    if (hostInfo.find(':') == std::string::npos)
        parser.GetIPAndPortInfo(hostInfo);
    return hostInfo;
}

/// Whether a log-in may reuse the session: it is neither over nor about to end.
bool isUsable(SessionSource& source) {
    const std::int32_t state = source.get_state();
    if (state != Normal && state != SilentWaiting)
        return false;
    const PortableServer::POA_var poa = source.get_POA();
    return !kelp::orb::isDying(poa.in());
}

/// End a session that cannot be returned to the NMS: remove it from the list, tear it down and log
/// the user out.
void endUnreachable(const ServantRef<EmsSession_IImpl>& session) {
    SessionMgr::Instance()->Unlist(session.get());
    session->source()->life().endFor(EndReason::Failed, "EMS");
    session->source()->set_state(Ended);
    session->wakePoint().wake();
    TASessionSource::check_valid(session->source());
    // check_valid does nothing for a session without a POA tree
    session->source()->logOutOnce();
}

emsSession::EmsSession_I_ptr referenceOf(const ServantRef<EmsSession_IImpl>& session) {
    try {
        emsSession::EmsSession_I_var reference = session->activate();
        if (!CORBA::is_nil(reference.in()))
            return reference._retn();
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(
            ex, "[EmsSessionFactory_IImpl::getEmsSession] Exception raised during _this!");
    }
    endUnreachable(session);
    ThrowException(kInternalFailure);
    return emsSession::EmsSession_I::_nil();
}

}  // namespace

/// A log-in in progress.
struct EmsSessionFactory_IImpl::LogIn {
    std::string user;
    kelp::util::Secret password;
    nmsSession::NmsSession_I_ptr client =
        nmsSession::NmsSession_I::_nil();  ///< borrowed from the request
    std::string hostInfo;
    std::optional<NS_CORBA::Admission> admission{};  ///< set once the password was found right
    bool hasRoom = false;                            ///< the quotas were checked and allow it
    emsSession::EmsSession_I_var result{};
};

EmsSessionFactory_IImpl* EmsSessionFactory_IImpl::Instance() {
    return theFactory.get([] { return new EmsSessionFactory_IImpl; });
}

void EmsSessionFactory_IImpl::Destroy() {
    theFactory.destroy([](EmsSessionFactory_IImpl* factory) { factory->_remove_ref(); });
}

char* EmsSessionFactory_IImpl::getVersion() {
    return CORBA::string_dup(baseConfig().IDLVersion().c_str());
}

void EmsSessionFactory_IImpl::getEmsSession(const char* user, const char* password,
                                            nmsSession::NmsSession_I_ptr client,
                                            emsSession::EmsSession_I_out emsSessionInterface) {
    if (user == nullptr || password == nullptr || CORBA::is_nil(client)) {
        ThrowException(kNullInput);
        return;
    }
    ThrowException(security().CheckLengths(user, password));
    try {
        LogIn logIn{user, kelp::util::Secret(password), client, hostInfoOf(client)};
        {
            // a wrong password is refused before pace_ makes the log-in wait: it must not occupy a
            // thread for a second
            const WriteLock lock(loginLock_);
            RequireAdmission(logIn);
            RequireOpenGate(logIn);
        }
        pace_.await(logIn.hostInfo, logIn.user);
        const std::string name = sessionNameText(logIn.user, logIn.hostInfo);
        const auto deadline =
            std::chrono::steady_clock::now() + std::chrono::seconds(baseConfig().TimeOut());
        for (;;) {
            {
                // a lock failure sets errno, and the log-in goes on unlocked
                const WriteLock lock(loginLock_);
                RequireAdmission(logIn);
                RequireOpenGate(logIn);
                if (ReuseSession(logIn))
                    break;
                RequireRoom(logIn);
                EndReplacedSession(logIn);
                if (ClaimedPoaNames::isFree(name)) {
                    MakeSession(logIn);
                    break;
                }
            }
            // a session of this name is still ending; wait without the lock, so that no other
            // log-in waits for its last call
            if (!ClaimedPoaNames::waitUntilFree(name, deadline)) {
                traceNms(
                    "[EmsSessionFactory_IImpl::getEmsSession] The old session of NMS-<%s> has not "
                    "ended in "
                    "time!",
                    logIn.hostInfo);
                ThrowException(kInternalFailure);
            }
        }
        emsSessionInterface = logIn.result._retn();
    } catch (const std::exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("[EmsSessionFactory_IImpl::getEmsSession] exception: %s", ex.what());
        ThrowException(kInternalFailure);
    }
}

void EmsSessionFactory_IImpl::RequireAdmission(LogIn& logIn) {
    unsigned long code = 0;
    if (logIn.admission) {
        // the log-in has waited, for its turn or for a session that was ending
        code = security().StillAdmits(*logIn.admission);
    } else {
        NS_CORBA::Admission admission;
        code = security().Admit(logIn.hostInfo, logIn.user, logIn.password.text(), admission);
        if (code == 0)
            logIn.admission = std::move(admission);
    }
    if (code == 0)
        return;
    traceNms("[EmsSessionFactory_IImpl::getEmsSession] NMS-<%s> Login failed!", logIn.hostInfo);
    ThrowException(code);
}

void EmsSessionFactory_IImpl::RequireOpenGate(const LogIn& logIn) {
    const std::optional<std::string> refusal = LogInGate::instance().refusal();
    if (!refusal)
        return;
    traceNms(
        "[EmsSessionFactory_IImpl::getEmsSession] NMS-<%s> is refused, the EMS is being drained!",
        logIn.hostInfo);
    ThrowException(NS_CORBA::kDraining, *refusal);
}

bool EmsSessionFactory_IImpl::ReuseSession(LogIn& logIn) {
    if (!CorbaAgentConfig::Instance()->IsUseBTName())
        return false;
    const ServantRef<EmsSession_IImpl> session =
        SessionMgr::Instance()->PinNmsSession(logIn.hostInfo, logIn.user);
    if (!session || !isUsable(*session->source()))
        return false;
    security().Renew(*logIn.admission);
    bool waitedSilently = false;
    if (!session->source()->reuse(logIn.client, waitedSilently))
        return false;
    // after the change of state, so that a silently waiting thread sees that its wait is over
    if (waitedSilently && baseConfig().GetSessionReleaseStrategy() == kReleaseBySilence &&
        baseConfig().GetEmsPingMode())
        session->wakePoint().wake();
    logIn.result = referenceOf(session);
    return true;
}

void EmsSessionFactory_IImpl::RequireRoom(LogIn& logIn) {
    // check only once: after its old session has ended the log-in would count as an additional one
    if (std::exchange(logIn.hasRoom, true))
        return;
    const unsigned long code = security().CheckRoom(logIn.hostInfo, logIn.user);
    if (code == 0)
        return;
    traceNms("[EmsSessionFactory_IImpl::getEmsSession] NMS-<%s> has too many sessions!",
             logIn.hostInfo);
    ThrowException(code);
}

void EmsSessionFactory_IImpl::EndReplacedSession(const LogIn& logIn) {
    auto session = ServantRef<EmsSession_IImpl>::take(
        SessionMgr::Instance()->GetNmsSession(logIn.hostInfo, logIn.user));
    if (!session)
        return;
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[getEmsSession] IP Adress and Port conflict, the session will be destroyed!");
    session->source()->life().endFor(EndReason::Replaced,
                                     "a log-in from " + kelp::orb::currentPeer().withPort);
    session->endSession();
    SessionMgr::Instance()->RemoveRefLocked(session.release());
    traceNms("[EmsSessionFactory_IImpl::getEmsSession] remove the old session NMS-<%s>.",
             logIn.hostInfo);
}

EmsSession_IImpl* EmsSessionFactory_IImpl::NewSession(const LogIn& logIn) {
    const auto giveUp = [&](const char* format) {
        security().Logout(logIn.hostInfo, logIn.user);
        traceNms(format, logIn.hostInfo);
        ThrowException(kInternalFailure);
    };
    // nothing below throws, except giveUp
    SessionSource* const source = SessionSource::create(logIn.hostInfo, logIn.user, logIn.client);
    if (source == nullptr)
        giveUp(
            "[EmsSessionFactory_IImpl::getEmsSession] Create Session Source for NMS-<%s> Failed!");
    EmsSession_IImpl* made = nullptr;
    try {
        made = new (std::nothrow) CountedSession(source);
        if (made == nullptr)
            delete source;
    } catch (const std::bad_alloc&) {
        // no memory inside the constructor, which owns the source
    }
    if (made == nullptr)
        giveUp("[EmsSessionFactory_IImpl::getEmsSession] Create EMSSession for NMS-<%s> Failed!");
    return made;
}

void EmsSessionFactory_IImpl::MakeSession(LogIn& logIn) {
    security().Enter(*logIn.admission);
    auto forList = ServantRef<EmsSession_IImpl>::take(NewSession(logIn));
    // an additional reference, which keeps the session until the log-in returns
    auto session = ServantRef<EmsSession_IImpl>::pin(forList.get());
    try {
        ListSession(logIn, session, forList);
        logIn.result = referenceOf(session);
        AwaitCalls(logIn, session);
        KeepSessionLimit();
    } catch (const globaldefs::ProcessingFailureException&) {
        throw;       // the session has already ended
    } catch (...) {  // no memory: end the session, so that the next log-in finds nothing of it
        endUnreachable(session);
        throw;
    }
}

void EmsSessionFactory_IImpl::ListSession(const LogIn& logIn, ServantRef<EmsSession_IImpl>& session,
                                          ServantRef<EmsSession_IImpl>& forList) {
    SessionMgr* const sessions = SessionMgr::Instance();
    const auto giveUp = [&](const char* format, unsigned long code) {
        endUnreachable(session);
        session.reset();
        sessions->RemoveRefLocked(forList.release());
        traceNms(format, logIn.hostInfo);
        ThrowException(code);
    };
    const PortableServer::POA_var root = rootPoa();
    if (const unsigned long code = session->source()->init(root.in()))
        giveUp(
            "[EmsSessionFactory_IImpl::getEmsSession] Initialize Session Source for NMS-<%s> "
            "Failed!",
            code);
    if (sessions->add_emsSession(forList.get()) != 0)
        giveUp("[EmsSessionFactory_IImpl::getEmsSession] Add EMSSession for NMS-<%s> Failed!",
               kRegistryFailure);
    forList.release();
    session->source()->life().enterHistory(session->source()->get_session_name());
}

void EmsSessionFactory_IImpl::AwaitCalls(const LogIn& logIn,
                                         const ServantRef<EmsSession_IImpl>& session) {
    if (baseConfig().GetSessionReleaseStrategy() != kReleaseBySilence ||
        baseConfig().GetEmsPingMode() ||
        SessionMgr::Instance()->SpawnWaiting(session.get(), theWaiting))
        return;
    // without this thread nothing would ever end the session
    endUnreachable(session);
    traceNms("[EmsSessionFactory_IImpl::getEmsSession] Nobody can wait for the calls of NMS-<%s>!",
             logIn.hostInfo);
    ThrowException(kInternalFailure);
}

void EmsSessionFactory_IImpl::KeepSessionLimit() {
    if (baseConfig().GetSessionReleaseStrategy() != kReleaseByLimit ||
        baseConfig().GetEmsPingMode())
        return;
    const std::vector<ServantRef<EmsSession_IImpl>> sessions =
        SessionMgr::Instance()->PinSessions();
    const long excess = static_cast<long>(sessions.size()) - baseConfig().GetMaxSession();
    for (long i = 0; i < excess && i < static_cast<long>(sessions.size()); ++i) {
        const ServantRef<EmsSession_IImpl>& oldest = sessions[static_cast<std::size_t>(i)];
        if (oldest->source() == nullptr)
            continue;
        oldest->source()->life().endFor(EndReason::Limit, "EMS");
        oldest->source()->set_state(Ended);
        oldest->wakePoint().wake();
    }
}

}  // namespace NS_KELPCORBA
