#include "corbaenv/corba_agent.h"

#include <ace/OS_NS_sys_time.h>
#include <dlfcn.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/agent_server.h>
#include <kelp/corbabase/asyn_notify_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/security_mgr.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/util/stopping.h>

#include <cerrno>

#include "config/rereading.h"
#include "corbaenv/agent_server_facade.h"
#include "corbaenv/manager_interfaces.h"
#include "corbaenv/naming_monitor.h"
#include "error/error_translator.h"
#include "interceptor/corba_request_interceptor_impl.h"
#include "notify/suppiler_mgr_callback.h"
#include "operator/session_metrics.h"
#include "operator/session_requests.h"
#include "session/ems_session_factory_impl.h"
#include "session/session_conditions.h"
#include "util/agent_state.h"
#include "util/base_config.h"
#include "util/containment.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "corbaagent";
constexpr int kSupplierModeConfigured = 0;
/// How long the stop waits for the agent's own threads, and again for the sessions' waiting
/// threads. Each thread has at most a few calls to finish, and each call has a time limit.
constexpr int kThreadsLeaveSeconds = 15;

/// Both live as long as the library. The platform borrows them between start and stop.
Corba_Request_InterceptorImpl requestInterceptor;
SuppilerMgrCallBack supplierCallBack;

void say(const char* text, int line = __builtin_LINE()) {
    NS_CORBA::tracePoint(kSubject, line);
    NS_CORBA::TaTrace("%s", text);
}

bool startFailed(const char* reason, int line = __builtin_LINE()) {
    say(reason, line);
    return false;
}

// -- start

bool startTranslator() {
    KelpErrTranslator* translator = KelpErrTranslator::Instance();
    return translator != nullptr && translator->Init();
}

bool startManagerInterfaces() {
    // the temporary ends here, so the list is unlocked before the failure is handled
    const std::optional<std::string> notStarted = ManagerInterfaces().Init();
    if (!notStarted)
        return true;
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[CorbaAgentFacade::Init] Initialize Corba Interface: %s failed!",
                      notStarted->c_str());
    return false;
}

void startMonitor() {
    AgentState& state = AgentState::instance();
    state.monitorGroup =
        state.threads.spawn(&NamingMonitor::Run, nullptr, THR_NEW_LWP | THR_DETACHED);
    if (state.monitorGroup == -1)
        say("[CorbaAgentFacade::Init] The monitor thread could not be made, the factory is not "
            "registered!");
}

/// Write the factory's reference to a file, for clients without a naming service. A failure is no
/// error, because other clients do not need the file.
void writeReference() {
    const emsSessionFactory::EmsSessionFactory_I_var factory =
        CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj();
    baseConfig().WriteFactoryReference(factory.in());
}

/// Start all parts in order. A failure is traced. Parts already started keep running until the stop
/// ends them.
bool start() {
    if (!startTranslator())
        return startFailed("[CorbaAgentFacade::Init] Initialize error translator failed!");
    say("===[CorbaAgentFacade::Init] Corba Agent is starting...===");
    if (AgentServerFacade::Init() == -1)
        return startFailed("[AgentServerFacade::Init] Initialize agent server failed!");
    baseConfig().SetReqInterceptorImpl(&requestInterceptor);
    openSessionHistory();
    if (SessionMgr::Instance()->Init() == -1)
        return startFailed("[CorbaAgentFacade::Init] Initialize session manager failed!");
    AgentState::instance().sessionMgrStarted = true;
    enterSessionConditions();
    enterSessionRequests();
    enterSessionMetrics();
    NS_CORBA::AsynNotifyMgr::Instance()->Init();
    if (!NS_CORBA::CorbaSecurityMgr::Instance()->Init())
        return startFailed("[CorbaAgentFacade::Init] Initialize corba security manager failed!");
    if (!startManagerInterfaces())
        return false;
    if (NS_CORBA::AgentServer::Activate() == -1)
        return startFailed("[CorbaAgentFacade::Init] Activate agent server failed!");
    writeReference();
    NS_CORBA::SuppilerMgr::Instance()->SetCallBack(&supplierCallBack);
    NS_CORBA::SuppilerMgr::Instance()->Start(kSupplierModeConfigured);
    startMonitor();
    say("===[CorbaAgentFacade::Init] Corba Agent is running! ===");
    return true;
}

// -- stop

/// Keep the library in memory from here on, because a thread that the stop no longer waits for
/// still runs in it.
void keepLoaded() {
    Dl_info self{};
    if (dladdr(reinterpret_cast<const void*>(&keepLoaded), &self) != 0 && self.dli_fname != nullptr)
        (void)dlopen(self.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_NODELETE);
}

void awaitThreads(ACE_Thread_Manager& threads) {
    const ACE_Time_Value deadline = ACE_OS::gettimeofday() + ACE_Time_Value(kThreadsLeaveSeconds);
    if (threads.wait(&deadline) != -1)
        return;
    // the threads are not killed: the stop only ends its wait
    keepLoaded();
    kelp::util::leaveRunning("a thread of the agent");
    errno = EINVAL;
}

void requestExit() {
    leaveSessionConditions();
    leaveSessionMetrics();
    leaveSessionRequests();
    AgentState& state = AgentState::instance();
    const kelp::util::MutexLock lock(state.monitorMutex);
    state.monitorCondition.notify_one();
    state.exitRequested = true;
}

template <class Step>
void stopStep(Step step) {
    contained(kSubject, "[CorbaAgentFacade::ExitThrds]", step);
}

template <class Step>
void destroyStep(Step step) {
    contained(kSubject, "[CorbaAgentFacade::Fini]", step);
}

/// Keep the library in memory when the ORB still exists. The ORB outlives Destroy only when calls
/// in progress do not end, and their servants are in this library.
void keepLoadedForCallsInProgress() {
    try {
        const CORBA::ORB_var orb = baseConfig().GetOrb();
        keepLoaded();
    } catch (const CORBA::BAD_INV_ORDER&) {
        // the ORB was destroyed, as expected
    }
}

void destroySingletons() {
    destroyStep([] { ManagerInterfaces().Destroy(); });
    destroyStep([] { NS_CORBA::AsynNotifyMgr::Destroy(); });
    destroyStep([] { EmsSessionFactory_IImpl::Destroy(); });
    destroyStep([] { SessionMgr::Destroy(); });
    AgentState::instance().sessionMgrStarted = false;
    destroyStep([] { NS_CORBA::CorbaSecurityMgr::Destroy(); });
    destroyStep([] { NS_CORBA::EventMgr::Destroy(); });
    destroyStep([] { NS_CORBA::SuppilerMgr::Destroy(); });
}

}  // namespace

bool CorbaAgentFacade::Init() {
    const NS_CORBA::FuncGuardTrace guard("CorbaAgentFacade::Init");
    bool runs = false;
    contained(kSubject, "[CorbaAgentFacade::Init]", [&] { runs = start(); });
    if (!runs) {
        ExitThrds();
        Fini();
    }
    return runs;
}

void CorbaAgentFacade::ExitThrds() {
    const NS_CORBA::FuncGuardTrace guard("CorbaAgentFacade::ExitThrds");
    say("===Begin to Exit Threads of Corba...===");
    NS_CORBA::AgentServer::BeginStop();
    requestExit();
    baseConfig().RemoveFactoryReference();

    const bool bySilence = baseConfig().GetSessionReleaseStrategy() == kReleaseBySilence;
    SessionMgr* sessions = SessionMgr::Existing();
    if (bySilence && sessions != nullptr)
        stopStep([&] { sessions->WakeAllWaiting(); });
    awaitThreads(AgentState::instance().threads);
    if (bySilence && sessions != nullptr)
        awaitThreads(sessions->WaitingThreads());

    stopStep([] { NS_CORBA::AgentServer::Discard(); });
    stopStep([] { NS_CORBA::CorbaSecurityMgr::Instance()->ExitThread(); });
    if (sessions != nullptr)
        stopStep([&] { sessions->ExitThread(); });
    stopStep([] { closeSessionHistory(); });
    // its end has been awaited; a second stop must not wait for it again
    AgentState::instance().sessionMgrStarted = false;
    stopStep([] { NS_CORBA::AsynNotifyMgr::Instance()->ExitThread(); });
    stopStep([] { ManagerInterfaces().ExitThreads(); });
    stopStep([] { NS_CORBA::SuppilerMgr::Instance()->ExitThread(); });
    stopStep([] { baseConfig().UnRegistEMSFactoryName(); });
    // before the ORB waits for its requests: a request that waits for an interceptor would block it
    // forever
    stopStep([] { baseConfig().SetReqInterceptorImpl(nullptr); });
    stopStep([] { NS_CORBA::AgentServer::ShutDown(); });
    say("=== Finish to Exit Threads of Corba! ===");
}

void CorbaAgentFacade::Fini() {
    const NS_CORBA::FuncGuardTrace guard("CorbaAgentFacade::Fini");
    say("===[CorbaAgentFacade::Fini] Begin to destroy Corba Agent... ===");
    // a request in progress may use any of these objects: then none is destroyed, and all stay
    // until the process ends
    const bool mayDestroy = NS_CORBA::AgentServer::HasLastRequestLeft();
    if (mayDestroy)
        destroySingletons();
    else
        kelp::util::leaveRunning("a request");
    destroyStep([] { OptionsRereading::instance().end(); });
    // while the ORB of its reference still exists
    if (mayDestroy)
        destroyStep([] { CorbaAgentConfig::Destroy(); });
    destroyStep([] { NS_CORBA::AgentServer::Destroy(); });
    destroyStep([] { keepLoadedForCallsInProgress(); });
    say("===[CorbaAgentFacade::Fini] Finish to destroy Corba Agent! ===");
    if (mayDestroy)
        KelpErrTranslator::Destroy();
}

}  // namespace NS_KELPCORBA
