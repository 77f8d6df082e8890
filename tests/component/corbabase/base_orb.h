#pragma once

#include <gtest/gtest.h>
#include <kelp/corbabase/agent_server.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/orb/references.h>
#include <kelp/orb/timeouts.h>
#include <mtnm/nmsSession.h>

#include <stdexcept>
#include <string>
#include <thread>

#include "component/orb/scripted_session.h"
#include "support/wire_reference.h"
#include "unit/corbabase/config_text.h"

namespace kelp::test {

inline NS_CORBA::CorbaBaseAgentConfig& base() {
    return *NS_CORBA::CorbaBaseAgentConfig::Instance();
}

inline constexpr const char* kFreePort = "[orb]\nlisten = \"127.0.0.1:0\"\n";

/// Return a corbaloc by which this process reaches its own object over a connection: the ORB does
/// not recognise the address as its own. The ORB must listen on 127.0.0.1.
inline std::string wireAddress(CORBA::Object_ptr reference) {
    const CORBA::ORB_var orb = base().GetOrb();
    orb::ReferenceContent content;
    if (!orb::describe(orb.in(), reference, content) || content.endpoints.empty())
        throw std::runtime_error("not a reference of this ORB");
    return "corbaloc:iiop:1.2@127.1:" + std::to_string(content.endpoints.front().port) + "/" +
           escapedKey(content.objectKey);
}

/// The ORB as the agent runs it: started by the base configuration and served by an agent worker,
/// but not yet activated. The destructor stops it in the agent's order.
class BaseOrb {
  public:
    explicit BaseOrb(const std::string& toml = kFreePort) {
        configure(toml);
        if (!base().Init("test_bundle"))
            throw std::runtime_error("the ORB does not start");
        worker_ = std::thread([] { NS_CORBA::AgentServer::AgentWorker(nullptr); });
    }
    ~BaseOrb() { stop(); }
    BaseOrb(const BaseOrb&) = delete;
    BaseOrb& operator=(const BaseOrb&) = delete;

    /// Shut down. The worker has ended when this returns.
    void shutDown() {
        NS_CORBA::AgentServer::Discard();
        NS_CORBA::AgentServer::ShutDown();
        if (worker_.joinable())
            worker_.join();
    }
    void stop() {
        shutDown();
        NS_CORBA::AgentServer::Destroy();
    }

  private:
    std::thread worker_;
};

/// A session object in the root POA of the base configuration's ORB, called over connections.
class WireSession {
  public:
    explicit WireSession(std::function<void()> onPing = [] {})
        : servant_(new ScriptedSession(std::move(onPing))) {
        const PortableServer::ServantBase_var owner(servant_);
        const PortableServer::POA_var root = base().GetRootPoa();
        const PortableServer::ObjectId_var id = root->activate_object(servant_);
        own_ = root->id_to_reference(id.in());
        const CORBA::ORB_var orb = base().GetOrb();
        const CORBA::Object_var object = orb::toReference(orb.in(), wireAddress(own_.in()));
        remote_ = nmsSession::NmsSession_I::_unchecked_narrow(object.in());
    }

    ScriptedSession& servant() { return *servant_; }
    /// The reference that the ORB recognises as its own.
    CORBA::Object_ptr own() const { return own_.in(); }
    /// Call ping with a time limit, so that a held call does not block the test forever.
    void ping(std::chrono::milliseconds limit = std::chrono::seconds(30)) const {
        const orb::ScopedThreadTimeout bounded(limit);
        remote_->ping();
    }

  private:
    ScriptedSession* servant_;
    CORBA::Object_var own_;
    nmsSession::NmsSession_I_var remote_;
};

}  // namespace kelp::test
