// The object of the session factory and the servants of the managers: the part of the agent's
// configuration that bundles use to register them.

#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/persistent_poa.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/orb.h>

#include "session/ems_session_factory_impl.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "corbaagentconfig";
constexpr const char* kShortKey = "EmsSessionFactory_I";

/// Activate the session factory's object. Nil when its object id is already in use. Throws CORBA
/// exceptions.
emsSessionFactory::EmsSessionFactory_I_ptr activateSessionFactory() {
    auto* base = NS_CORBA::CorbaBaseAgentConfig::Instance();
    const PortableServer::POA_var root = base->GetRootPoa();
    const PortableServer::POA_var poa = NS_CORBA::get_persistent_poa(root.in(), "V4800");
    const CORBA::Object_var object = NS_CORBA::get_persistent_ref(
        poa.in(), EmsSessionFactory_IImpl::Instance(), "EMSSessionFactory");
    return emsSessionFactory::EmsSessionFactory_I::_narrow(object.in());
}

/// Publish the key that clients without a naming service use in a corbaloc. Harmless when it is
/// published already.
void publishShortKey(CORBA::Object_ptr factory) {
    const CORBA::ORB_var orb = NS_CORBA::CorbaBaseAgentConfig::Instance()->GetOrb();
    try {
        kelp::orb::publishKey(orb.in(), kShortKey, EmsSessionFactory_IImpl::Instance(), factory);
    } catch (const CORBA::BAD_PARAM&) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaDebugWithPara(
            1, "[CorbaAgentConfig::InitEmsSessionFactoryIImplObj] The key %s is in use", kShortKey);
    }
}

}  // namespace

bool CorbaAgentConfig::InitEmsSessionFactoryIImplObj() {
    try {
        emsSessionFactory::EmsSessionFactory_I_var factory = activateSessionFactory();
        if (CORBA::is_nil(factory.in())) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace(
                "[CorbaAgentConfig::InitEmsSessionFactoryIImplObj] Call get_persistent_ref "
                "EMSSessionFactory "
                "is nil\n");
            return false;
        }
        publishShortKey(factory.in());
        const kelp::util::MutexLock lock(mutex_);
        sessionFactory_ = factory;
        return true;
    } catch (const CORBA::Exception& ex) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[CorbaAgentConfig::InitEmsSessionFactoryIImplObj] Create EMSSessionFactory catch "
            "exception: "
            "%s\n",
            kelp::orb::exceptionText(ex).c_str());
    } catch (...) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[CorbaAgentConfig::InitEmsSessionFactoryIImplObj] Create EMSSessionFactory catch unk "
            "exception\n");
    }
    return false;
}

emsSessionFactory::EmsSessionFactory_I_ptr CorbaAgentConfig::GetEmsSessionFactoryIImplObj() const {
    const kelp::util::MutexLock lock(mutex_);
    return emsSessionFactory::EmsSessionFactory_I::_duplicate(sessionFactory_.in());
}

void CorbaAgentConfig::RegisterServant(const char* name, POA_common::Common_I* servant) {
    if (name == nullptr || servant == nullptr) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaDebug(1, "[CorbaAgentConfig::RegisterServant] Name or servant is null!");
        return;
    }
    SessionMgr::Instance()->RegisterServant(name, servant);
}

}  // namespace NS_KELPCORBA
