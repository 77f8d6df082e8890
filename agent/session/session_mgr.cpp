// The session manager's start and stop.

#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/lazy_instance.h>
#include <kelp/corbabase/trace.h>

#include "iterator/iterator_list.h"
#include "session/event_loss_state.h"
#include "session/manager_servants.h"
#include "session/session_list.h"
#include "session/silence_watch.h"
#include "util/agent_state.h"
#include "util/base_config.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionmgr";
/// How long Destroy waits for waiting threads that the stop has woken. They only have to return.
constexpr int kWaitingThreadsLeaveSeconds = 15;

constinit NS_CORBA::LazyInstance<SessionMgr> theInstance;

}  // namespace

SessionMgr* SessionMgr::Instance() {
    return theInstance.get([] { return new SessionMgr; });
}

SessionMgr* SessionMgr::Existing() {
    return theInstance.existing();
}

SessionMgr::SessionMgr()
    : ACE_Task_Base(&serviceThreads_),
      sessions_(std::make_unique<SessionList>()),
      silenceWatch_(std::make_unique<SilenceWatch>()),
      iterators_(std::make_unique<IteratorList>()),
      servants_(std::make_unique<ManagerServants>()),
      eventLoss_(std::make_unique<EventLossState>()) {}

SessionMgr::~SessionMgr() {
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[SessionMgr::~SessionMgr] CORBA Session Management Exit!");
}

int SessionMgr::Init() {
    const NS_CORBA::CorbaBaseAgentConfig* config = NS_CORBA::CorbaBaseAgentConfig::Instance();
    agentConfig_ = CorbaAgentConfig::Instance();
    pingInterval_ = config->TimeInterval();
    exitRequested_ = false;
    exitDeadline_.reset();
    sessions_->reopen();
    pingThreads_ = static_cast<std::size_t>(config->PingThreads());
    silentMode_ =
        config->GetSessionReleaseStrategy() == kReleaseBySilence && config->GetEmsPingMode();
    NS_BUNDLEMGR1::LightEventMgr::Instance()->RegisterHandler(NS_BUNDLEMGR1::kUserStateChangeEvent,
                                                              &userStateHandler_);
    handlerRegistered_ = true;
    const NS_CORBA::NorthMgrMap* managers = config->GetNorthMgrMap();
    if (managers == nullptr) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("[SessionMgr::Init] MgrFactoryMap is null!");
        return -1;
    }
    for (const auto& [name, factory] : *managers) {
        if (factory == nullptr) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionMgr::Init] MgrFactory object is null!");
            return -1;
        }
        POA_common::Common_I* servant = factory->CreateServant();
        if (servant == nullptr) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionMgr::Init] Create servant object failed!");
            return -1;
        }
        servants_->add(name, servant);
    }
    open(nullptr);
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[SessionMgr::Init] Session manager is ready now!");
    return 0;
}

int SessionMgr::open(void*) {
    const int result = activate(THR_NEW_LWP, 1);
    if (result != 0) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace("Failed to activate SessionMgr::open,errCode is %d", result);
        // without a service thread nothing else posts it, and ExitThread waits for it
        exitSemaphore_.release();
    }
    return 0;
}

int SessionMgr::close(unsigned long) {
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[SessionMgr::close] SessionMgr has been closed!");
    return 0;
}

int SessionMgr::ExitThread() {
    DeregisterUserStateHandler();
    pingInterval_ = 0;
    exitRequested_ = true;
    wakeUp_.signal();
    if (AgentState::instance().sessionMgrStarted)
        exitSemaphore_.acquire();
    return 0;
}

void SessionMgr::Destroy() {
    SessionMgr* instance = Existing();
    if (instance == nullptr)
        return;
    instance->DeregisterUserStateHandler();
    instance->ACE_Task_Base::wait();
    const ACE_Time_Value deadline(ACE_OS::gettimeofday() +
                                  ACE_Time_Value(kWaitingThreadsLeaveSeconds));
    instance->WakeAllWaiting();
    if (instance->silenceWatch_->threads().wait(&deadline) == -1) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionMgr::Destroy] Waiting threads have not ended, the session manager stays!");
        return;
    }
    const auto release = [](SessionMgr* made) {
        made->servants_->clear();
        made->sessions_->logOutAll();
    };
    theInstance.destroy(instance, release, [](SessionMgr* made) { delete made; });
}

void SessionMgr::DeregisterUserStateHandler() {
    // without a lock held: the light event manager waits for a handler in progress, which takes the
    // session lock
    if (handlerRegistered_.exchange(false)) {
        NS_BUNDLEMGR1::LightEventMgr::Instance()->DeregisterHandler(
            NS_BUNDLEMGR1::kUserStateChangeEvent, &userStateHandler_);
    }
}

}  // namespace NS_KELPCORBA
