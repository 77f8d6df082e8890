#pragma once

#include <cos/CosNaming.h>
#include <gtest/gtest.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/corbabase/agent_server.h>
#include <kelp/orb/servants.h>
#include <mtnm/emsSessionFactory.h>

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>

#include "component/corbabase/base_orb.h"
#include "component/corbabase/scripted_interceptor.h"
#include "corbaenv/naming_monitor.h"
#include "support/omninames.h"
#include "support/trace_capture.h"
#include "support/wire_reference.h"
#include "unit/orb/hand_made_reference.h"

namespace kelp::test {

/// The session factory of another EMS.
class OtherFactory : public virtual POA_emsSessionFactory::EmsSessionFactory_I {
  public:
    char* getVersion() override { return CORBA::string_dup("other"); }
    void getEmsSession(const char*, const char*, nmsSession::NmsSession_I_ptr,
                       emsSession::EmsSession_I_out) override {
        throw CORBA::NO_IMPLEMENT();
    }
};

/// The factory's entry in a naming service, as an NMS sees it.
class FactoryEntry {
  public:
    explicit FactoryEntry(std::string namingService) : namingService_(std::move(namingService)) {}

    /// Return the object bound to the name; nil if it is not bound.
    CORBA::Object_ptr get() const {
        const CosNaming::NamingContext_var root = context();
        try {
            return root->resolve(name());
        } catch (const CosNaming::NamingContext::NotFound&) {
            return CORBA::Object::_nil();
        }
    }
    bool isBound() const {
        const CORBA::Object_var found = get();
        return !CORBA::is_nil(found.in());
    }
    bool leadsTo(CORBA::Object_ptr object) const {
        const CORBA::Object_var found = get();
        return !CORBA::is_nil(found.in()) && textOf(found.in()) == textOf(object);
    }
    /// Bind the name as another process would, replacing an existing binding. The contexts must
    /// exist.
    void rebind(CORBA::Object_ptr object) const {
        const CosNaming::NamingContext_var root = context();
        root->rebind(name(), object);
    }
    void unbind() const {
        const CosNaming::NamingContext_var root = context();
        root->unbind(name());
    }

  private:
    CosNaming::NamingContext_ptr context() const {
        const CORBA::ORB_var orb = base().GetOrb();
        const CORBA::Object_var object = orb::toReference(orb.in(), namingService_);
        return CosNaming::NamingContext::_narrow(object.in());
    }
    static CosNaming::Name name() {
        CosNaming::Name made;
        base().ConstructEmsFactoryName(made);
        return made;
    }
    static std::string textOf(CORBA::Object_ptr object) {
        const CORBA::ORB_var orb = base().GetOrb();
        const CORBA::String_var text = orb->object_to_string(object);
        return std::string(text.in());
    }

    const std::string namingService_;
};

inline std::string withNamingPort(std::uint16_t port) {
    return kFreePort + std::string("[naming]\nembedded = false\nport = ") + std::to_string(port) +
           "\n";
}

/// A monitor with the agent's factory reference and a naming service. The test runs the rounds.
class MonitorFixture : public testing::Test {
  protected:
    MonitorFixture() {
        base().SetReqInterceptorImpl(&everybody_);
        NS_CORBA::AgentServer::Activate();
        if (!NS_KELPCORBA::CorbaAgentConfig::Instance()->InitEmsSessionFactoryIImplObj())
            throw std::runtime_error("no session factory");
        own_ = NS_KELPCORBA::CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj();
        monitor_.emplace(own_.in());
    }
    ~MonitorFixture() override {
        monitor_.reset();
        own_ = emsSessionFactory::EmsSessionFactory_I::_nil();
        NS_KELPCORBA::CorbaAgentConfig::Destroy();
        orb_.stop();
        base().SetReqInterceptorImpl(nullptr);
    }

    /// Run rounds of the monitor thread. Its call time-out is short, so that hung peers cost a test
    /// little.
    void round(int count = 1) {
        const orb::ScopedThreadTimeout bounded(std::chrono::milliseconds(300));
        for (int i = 0; i < count; ++i)
            monitor_->Round();
    }
    /// Bring the monitor into the registered state.
    void registerOwn() {
        round(2);
        ASSERT_TRUE(monitor_->IsRegistered());
        ASSERT_TRUE(entry_.leadsTo(own_.in()));
        trace_.clear();
    }

    /// Another factory's object in this process, called over a connection.
    struct LiveObject {
        PortableServer::ObjectId_var id;
        CORBA::Object_var reference;
    };
    LiveObject activate(PortableServer::Servant servant) {
        const PortableServer::POA_var root = base().GetRootPoa();
        LiveObject made;
        made.id = root->activate_object(servant);
        const CORBA::Object_var local = root->id_to_reference(made.id.in());
        const CORBA::ORB_var itsOrb = base().GetOrb();
        made.reference = orb::toReference(itsOrb.in(), wireAddress(local.in()));
        return made;
    }
    LiveObject activateOtherFactory() {
        const PortableServer::ServantBase_var owner(new OtherFactory);
        return activate(owner.in());
    }
    static void deactivate(const LiveObject& object) {
        const PortableServer::POA_var root = base().GetRootPoa();
        root->deactivate_object(object.id.in());
    }
    /// Return a reference to the same object with one more address.
    static std::string withAlternateAddress(CORBA::Object_ptr object, const std::string& host,
                                            unsigned port) {
        const CORBA::ORB_var itsOrb = base().GetOrb();
        orb::ReferenceContent content;
        if (!orb::describe(itsOrb.in(), object, content))
            throw std::runtime_error("not a reference of this ORB");
        Iiop iiop;
        iiop.host = content.endpoints.front().host;
        iiop.port = content.endpoints.front().port;
        iiop.key = content.objectKey;
        iiop.components = {alternateAddress(host, port)};
        return hexReference(referenceBytes({{0, iiopProfile(iiop)}}, content.typeId));
    }
    static CORBA::Object_ptr referenceTo(const std::string& corbaloc) {
        const CORBA::ORB_var itsOrb = base().GetOrb();
        return orb::toReference(itsOrb.in(), corbaloc);
    }

    OmniNames names_;
    ScriptedInterceptor everybody_;
    BaseOrb orb_{withNamingPort(names_.port())};
    FactoryEntry entry_{names_.corbaloc()};
    emsSessionFactory::EmsSessionFactory_I_var own_;
    std::optional<NS_KELPCORBA::NamingMonitor> monitor_;
    TraceCapture trace_;
};

inline constexpr const char* kNotDetected =
    "[Monitor Thread] emssessionfactory is not detected in the NamingService! Now try to register "
    "it. error "
    "reason:";
inline constexpr const char* kInvalid =
    "[Monitor Thread] invalid emssessionfactory ior detected in NamingService! Now try to "
    "re-register it.";
inline constexpr const char* kSystemException =
    "[Monitor Thread] system exception occured! error reason:";
}  // namespace kelp::test
