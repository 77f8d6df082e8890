#include "corbaenv/agent_server_facade.h"

#include <ace/Thread_Manager.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/corbabase/agent_server.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/orb.h>

#include "config/rereading.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "agentserverfacade";
constexpr const char* kBundleName = "mx_kelp_corbaagent_bundle";

int serverFailed(const char* reason, int line = __builtin_LINE()) {
    NS_CORBA::tracePoint(kSubject, line);
    NS_CORBA::TaTrace("%s", reason);
    return -1;
}

/// Hold all requests until NS_CORBA::AgentServer::Activate. 0 or -1. Lets CORBA exceptions through.
int holdCallers() {
    const PortableServer::POA_var root = NS_CORBA::CorbaBaseAgentConfig::Instance()->GetRootPoa();
    const PortableServer::POAManager_var manager = root->the_POAManager();
    if (CORBA::is_nil(manager.in()))
        return serverFailed("[AgentServerFacade::Init] poaMgr is NULL!");

    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[AgentServerFacade::Init] begin POAManager state\n");
    const auto state = manager->get_state();
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[AgentServerFacade::Init] end POAManager state = %d\n",
                      static_cast<int>(state));

    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[AgentServerFacade::Init] begin hold_requests\n");
    kelp::orb::holdCallers(manager.in());
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[AgentServerFacade::Init] end hold_requests\n");
    return 0;
}

/// The start up to the point where the worker thread may run. 0 or -1. Lets CORBA exceptions
/// through.
int prepare() {
    if (!NS_CORBA::CorbaBaseAgentConfig::Instance()->Init(kBundleName))
        return serverFailed("[AgentServerFacade::Init] Initialize CorbaBaseAgentConfig Failed!");
    if (!CorbaAgentConfig::Instance()->Init())
        return serverFailed("[AgentServerFacade::Init] Initialize CorbaAgentConfig Failed!");
    OptionsRereading::instance().begin();
    if (!CorbaAgentConfig::Instance()->InitEmsSessionFactoryIImplObj())
        return serverFailed("[AgentServerFacade::Init] Call InitEmsSessionFactoryIImplObj Failed!");
    return holdCallers();
}

}  // namespace

int AgentServerFacade::Init() {
    try {
        if (prepare() != 0)
            return -1;
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaException(ex, "[AgentServerFacade::Init] Raised during hold_requests!");
        return -1;
    }
    if (ACE_Thread_Manager::instance()->spawn(NS_CORBA::AgentServer::AgentWorker, nullptr,
                                              THR_DETACHED) == -1)
        return serverFailed("[AgentServerFacade::Init] Spawn Agent Thread Failed!");
    return 0;
}

}  // namespace NS_KELPCORBA
