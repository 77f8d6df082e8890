#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/agent_server.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/users/user_database.h>

#include <list>
#include <string>
#include <utility>
#include <vector>

#include "bundle_doubles.h"
#include "component/corbabase/base_orb.h"
#include "corbaenv/corba_agent.h"
#include "support/tcp_peers.h"
#include "support/temporary_directory.h"
#include "support/test_manager.h"
#include "support/trace_capture.h"
#include "util/agent_state.h"

namespace kelp::test {

/// The part of the host that the agent needs: a configuration, a user database, bundles that have
/// entered a manager "EMS", and the interfaces that a test adds. At the end of the test the agent
/// is stopped if it still runs.
class AgentFixture : public testing::Test {
  protected:
    AgentFixture() { base().EnterNorthMgrFactory("EMS", &factory_); }
    ~AgentFixture() override {
        stop();
        for (RecordedInterface& each : interfaces_)
            base().LeaveManagerInterface(&each);
        base().LeaveNorthMgrFactory("EMS");
    }

    /// `session` is the content of the table [session]. By default the naming service refuses
    /// connections.
    void configureAgent(const std::string& session = "", std::uint16_t namingPort = freePort(),
                        const std::string& more = "") {
        configure(agentConfiguration(folder_, namingPort) + "[session]\n" + session + "\n" + more);
    }
    RecordedInterface& enterInterface(const std::string& name, long order) {
        interfaces_.emplace_back(name, order, log_);
        base().EnterManagerInterface(&interfaces_.back());
        return interfaces_.back();
    }
    bool start() { return needsStop_ = NS_KELPCORBA::CorbaAgentFacade::Init(); }
    void stop() {
        if (!std::exchange(needsStop_, false))
            return;
        NS_KELPCORBA::CorbaAgentFacade::ExitThrds();
        NS_KELPCORBA::CorbaAgentFacade::Fini();
    }

    /// Return the agent's lines without those of its monitor thread.
    std::vector<std::string> agentLines() const {
        std::vector<std::string> lines;
        for (const kelp::util::TraceLine& line : trace_.records()) {
            if (line.file == "corbaagent" && line.kind == kelp::util::TraceKind::Trace &&
                line.text.find("[Monitor Thread]") == std::string::npos)
                lines.push_back(line.text);
        }
        return lines;
    }
    static bool isOrbGone() {
        try {
            const CORBA::ORB_var orb = base().GetOrb();
            return false;
        } catch (const CORBA::BAD_INV_ORDER&) {
            return true;
        }
    }
    static void expectNothingRuns() {
        EXPECT_TRUE(isOrbGone());
        EXPECT_EQ(NS_KELPCORBA::SessionMgr::Existing(), nullptr);
        EXPECT_FALSE(NS_KELPCORBA::AgentState::instance().sessionMgrStarted);
        EXPECT_EQ(NS_KELPCORBA::AgentState::instance().threads.count_threads(), 0u);
        const emsSessionFactory::EmsSessionFactory_I_var factory =
            NS_KELPCORBA::CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj();
        EXPECT_TRUE(CORBA::is_nil(factory.in()));
        NS_KELPCORBA::CorbaAgentConfig::Destroy();
    }

    TemporaryDirectory folder_;
    TestManagerFactory factory_;
    CallLog log_;
    std::list<RecordedInterface> interfaces_;
    TraceCapture trace_;
    bool needsStop_ = false;
};

}  // namespace kelp::test
