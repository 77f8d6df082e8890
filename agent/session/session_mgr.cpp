// The session manager's start and stop, and its manager servants.

#include <ace/Guard_T.h>
#include <ace/Object_Manager_Base.h>
#include <ace/Recursive_Thread_Mutex.h>
#include <ace/Static_Object_Lock.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/security_mgr.h>
#include <mtnm/common.h>

#include <algorithm>

#include "adapter/session_source.h"
#include "session/ems_session_impl.h"
#include "util/agent_state.h"
#include "util/trace_point.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "sessionmgr";
constexpr int kReleaseBySilence = 2;
/// How long Destroy waits for waiting threads that the stop has woken. They only have to return.
constexpr int kWaitingThreadsLeaveSeconds = 15;

}  // namespace

SessionMgr* SessionMgr::m_pInstance = nullptr;

SessionMgr* SessionMgr::Instance() {
    if (SessionMgr* instance = Existing())
        return instance;
    ACE_GUARD_RETURN(ACE_Recursive_Thread_Mutex, lock, *ACE_Static_Object_Lock::instance(),
                     Existing());
    if (m_pInstance == nullptr)
        __atomic_store_n(&m_pInstance, new SessionMgr, __ATOMIC_RELEASE);
    return m_pInstance;
}

SessionMgr* SessionMgr::Existing() {
    return __atomic_load_n(&m_pInstance, __ATOMIC_ACQUIRE);
}

SessionMgr::SessionMgr() : ACE_Task_Base(&serviceThreads_) {}

SessionMgr::~SessionMgr() {
    tracePoint(kSubject);
    NS_CORBA::TaTrace("[SessionMgr::~SessionMgr] CORBA Session Management Exit!");
}

int SessionMgr::Init() {
    const NS_CORBA::CorbaBaseAgentConfig* config = NS_CORBA::CorbaBaseAgentConfig::Instance();
    agentConfig_ = CorbaAgentConfig::Instance();
    pingInterval_ = config->TimeInterval();
    exitRequested_ = false;
    exitDeadline_.reset();
    isClosed_ = false;
    pingThreads_ = static_cast<std::size_t>(config->PingThreads());
    silentMode_ =
        config->GetSessionReleaseStrategy() == kReleaseBySilence && config->GetEmsPingMode();
    NS_BUNDLEMGR1::LightEventMgr::Instance()->RegisterHandler(NS_BUNDLEMGR1::kUserStateChangeEvent,
                                                              &userStateHandler_);
    handlerRegistered_ = true;
    const NS_CORBA::NorthMgrMap* managers = config->GetNorthMgrMap();
    if (managers == nullptr) {
        tracePoint(kSubject);
        NS_CORBA::TaTrace("[SessionMgr::Init] MgrFactoryMap is null!");
        return -1;
    }
    for (const auto& [name, factory] : *managers) {
        if (factory == nullptr) {
            tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionMgr::Init] MgrFactory object is null!");
            return -1;
        }
        POA_common::Common_I* servant = factory->CreateServant();
        if (servant == nullptr) {
            tracePoint(kSubject);
            NS_CORBA::TaTrace("[SessionMgr::Init] Create servant object failed!");
            return -1;
        }
        TakeOverServant(name, servant);
    }
    open(nullptr);
    tracePoint(kSubject);
    NS_CORBA::TaTrace("[SessionMgr::Init] Session manager is ready now!");
    return 0;
}

int SessionMgr::open(void*) {
    const int result = activate(THR_NEW_LWP, 1);
    if (result != 0) {
        tracePoint(kSubject);
        NS_CORBA::TaTrace("Failed to activate SessionMgr::open,errCode is %d", result);
        // without a service thread nothing else posts it, and ExitThread waits for it
        exitSemaphore_.release();
    }
    return 0;
}

int SessionMgr::close(unsigned long) {
    tracePoint(kSubject);
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
    if (instance->waitingThreads_.wait(&deadline) == -1) {
        tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionMgr::Destroy] Waiting threads have not ended, the session manager stays!");
        return;
    }
    ACE_GUARD(ACE_Recursive_Thread_Mutex, lock, *ACE_Static_Object_Lock::instance());
    if (Existing() != instance)
        return;
    instance->ReleaseServants();
    instance->LogOutEverybody();
    __atomic_store_n(&m_pInstance, static_cast<SessionMgr*>(nullptr), __ATOMIC_RELEASE);
    delete instance;
}

void SessionMgr::DeregisterUserStateHandler() {
    // without a lock held: the light event manager waits for a handler in progress, which takes the
    // session lock
    if (handlerRegistered_.exchange(false)) {
        NS_BUNDLEMGR1::LightEventMgr::Instance()->DeregisterHandler(
            NS_BUNDLEMGR1::kUserStateChangeEvent, &userStateHandler_);
    }
}

// -- manager servants

void SessionMgr::TakeOverServant(const std::string& name, POA_common::Common_I* servant) {
    bool taken = false;
    {
        const ACE_Guard<ACE_Thread_Mutex> lock(servantLock_);
        taken = servants_.emplace(name, servant).second;
    }
    // a bundle has already registered a servant of this name
    if (!taken)
        servant->_remove_ref();
}

void SessionMgr::RegisterServant(const std::string& name, POA_common::Common_I* servant) {
    if (servant != nullptr)
        servant->_add_ref();
    POA_common::Common_I* before = nullptr;
    {
        const ACE_Guard<ACE_Thread_Mutex> lock(servantLock_);
        before = std::exchange(servants_[name], servant);
    }
    if (before != nullptr)
        before->_remove_ref();
}

POA_common::Common_I* SessionMgr::find_servant(const char* name) {
    if (name == nullptr)
        return nullptr;
    const ACE_Guard<ACE_Thread_Mutex> lock(servantLock_);
    const auto found = servants_.find(name);
    return found == servants_.end() ? nullptr : found->second;
}

POA_common::Common_I* SessionMgr::pin_servant(std::string_view name) {
    const ACE_Guard<ACE_Thread_Mutex> lock(servantLock_);
    const auto found = servants_.find(name);
    if (found == servants_.end() || found->second == nullptr)
        return nullptr;
    found->second->_add_ref();
    return found->second;
}

void SessionMgr::ReleaseServants() {
    decltype(servants_) servants;
    {
        const ACE_Guard<ACE_Thread_Mutex> lock(servantLock_);
        servants.swap(servants_);
    }
    for (const auto& [name, servant] : servants) {
        if (servant != nullptr)
            servant->_remove_ref();
    }
}

}  // namespace NS_KELPCORBA
