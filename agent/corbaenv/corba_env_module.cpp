#include "corbaenv/corba_env_module.h"

#include <ace/Log_Msg.h>
#include <ace/Thread_Manager.h>
#include <kelp/appmgr/task_mgr.h>

#include <memory>

#include "corbaenv/corba_agent.h"
#include "util/containment.h"
#include "util/task_mgr_type.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "corbaenvmodule";
constexpr const char* kBundleName = "mx_kelp_corbaagent_bundle";
constexpr const char* kServiceName = "mx_kelpcorba_env";
constexpr const char* kInterfaceKey = "NULLServiceInterface";
constexpr int kTaskMgrWorkers = 2;

int moduleFailed(const char* reason, int line = __builtin_LINE()) {
    NS_CORBA::tracePoint(kSubject, line);
    NS_CORBA::TaTrace("%s", reason);
    return -1;
}

/// Pass the module's task manager to the application, which owns it from then on.
void enterTaskMgr() {
    auto taskMgr =
        std::make_unique<KelpGnlTaskMgr>(KelpAppMgr::Instance(), ACE_Thread_Manager::instance(),
                                         kModuleTaskMgrType, kTaskMgrWorkers);
    if (taskMgr->InitEnv() != 0)
        moduleFailed("in [mx_kelpcorba_env::init] The task manager has no workers!");
    KelpAppMgr::Instance()->TMDynInsertTaskMgr(taskMgr.release());
}

ACE_Service_Object* makeServiceObject() {
    auto object = std::make_unique<mx_kelpcorba_env>(kBundleName, kServiceName);
    NS_BUNDLEMGR1::SetIFBuf(kInterfaceKey, object->CreateInterface());
    return object.release();
}

}  // namespace

int mx_kelpcorba_env::init(int, ACE_TCHAR*[]) {
    if (!NS_CORBA::CorbaLogMgr::Instance()->Init())
        return moduleFailed("in [mx_kelpcorba_env::init] CorbaLogMgr Init failed!");
    if (!CorbaAgentFacade::Init()) {
        moduleFailed("in [mx_kelpcorba_env::init] CorbaAgentFacade Init failed!");
        NS_CORBA::CorbaLogMgr::Destroy();
        return -1;
    }
    if (!contained(kSubject, "in [mx_kelpcorba_env::init]", [] { enterTaskMgr(); })) {
        Shutdown();
        return -1;
    }
    return 0;
}

void mx_kelpcorba_env::Shutdown() {
    CorbaAgentFacade::ExitThrds();
    CorbaAgentFacade::Fini();
    NS_CORBA::CorbaLogMgr::Destroy();
}

int mx_kelpcorba_env::fini() {
    return 0;
}

NS_BUNDLEMGR1::ServiceInterface* mx_kelpcorba_env::CreateInterface() {
    RemoveInterface();
    interface_ = new NS_BUNDLEMGR1::NULLServiceInterface;
    return interface_;
}

}  // namespace NS_KELPCORBA

extern "C" {

/// Deletes the module's service object.
static void gobble(void* p) {
    auto* _p = static_cast<ACE_Service_Object*>(p);
    if (_p == nullptr) {
        ACE_ERROR((LM_ERROR, "ACE_ASSERT: file %C, line %d assertion failed for '%C'.\n",
                   "corbaenvmodule", __LINE__, "_p != 0"));
        return;
    }
    delete _p;
}

/// The module's entry point. Return a new service object, which the host owns. Store the function
/// that deletes it in `deleter` unless that is null. When the object cannot be made trace it and
/// return null.
KELP_EXPORT ACE_Service_Object* _make_mx_kelpcorba_env(ACE_Service_Object_Exterminator* deleter) {
    if (deleter != nullptr)
        *deleter = gobble;
    using namespace NS_KELPCORBA;
    ACE_Service_Object* made = nullptr;
    contained(kSubject, "in [_make_mx_kelpcorba_env]", [&] { made = makeServiceObject(); });
    return made;
}
}
