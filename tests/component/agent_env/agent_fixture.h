#pragma once

#include "corbaenv/agent_state.h"
#include "corbaenv/corbaagent.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/corbabase/agent_server.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/manager_interface.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/corbabase/user_database.h>

#include <mtnm/common.h>

#include <algorithm>
#include <functional>
#include <list>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "component/corbabase/base_orb.h"
#include "support/tcp_peers.h"
#include "support/temporary_directory.h"
#include "support/trace_capture.h"

namespace kelp::test {

/// What the manager interfaces of a test were called for, in order: "Init A", "ExitThread A", "Destroy A".
class CallLog {
  public:
    void add(const std::string& call) {
        const std::lock_guard guard(mutex_);
        calls_.push_back(call);
    }
    std::vector<std::string> calls() const {
        const std::lock_guard guard(mutex_);
        return calls_;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
};

/// A bundle's manager interface that logs its calls.
class RecordedInterface : public NS_CORBA::CorbaI {
  public:
    RecordedInterface(std::string name, long order, CallLog& log)
        : name_(std::move(name)), order_(order), log_(log) {}
    ~RecordedInterface() override = default;

    /// What Init does and answers.
    std::function<bool()> onInit = [] { return true; };
    std::function<void()> onExitThread = [] {};

    bool Init() override {
        log_.add("Init " + name_);
        return onInit();
    }
    void ExitThread() override {
        log_.add("ExitThread " + name_);
        onExitThread();
    }
    void Destroy() override { log_.add("Destroy " + name_); }
    long Order() override { return order_; }
    const char* Name() override { return name_.c_str(); }

  private:
    const std::string name_;
    const long order_;
    CallLog& log_;
};

/// A manager without operations.
class EmptyManager : public virtual POA_common::Common_I {
  public:
    void setNativeEMSName(const globaldefs::NamingAttributes_T&, const char*) override { refuse(); }
    void setUserLabel(const globaldefs::NamingAttributes_T&, const char*, CORBA::Boolean) override {
        refuse();
    }
    void setOwner(const globaldefs::NamingAttributes_T&, const char*) override { refuse(); }
    void getCapabilities(common::CapabilityList_T_out) override { refuse(); }
    void setAdditionalInfo(const globaldefs::NamingAttributes_T&, globaldefs::NVSList_T&) override {
        refuse();
    }

  private:
    static void refuse() { throw CORBA::NO_IMPLEMENT(); }
};

class EmptyManagerFactory : public NS_CORBA::NorthMgrFactory {
  public:
    ~EmptyManagerFactory() override = default;
    POA_common::Common_I* CreateServant() override { return new EmptyManager; }
};

/// The host as far as the agent needs it: a configuration, a user database, bundles that have entered a
/// manager "EMS" and what interfaces a test adds. At the end the agent is stopped if it still runs.
class AgentFixture : public testing::Test {
  protected:
    AgentFixture() { base().EnterNorthMgrFactory("EMS", &factory_); }
    ~AgentFixture() override {
        stop();
        for (RecordedInterface& each : interfaces_)
            base().LeaveManagerInterface(&each);
        base().LeaveNorthMgrFactory("EMS");
    }

    /// `session` is the table of that name; the naming service is one that refuses connections unless told.
    void configureAgent(const std::string& session = "", std::uint16_t namingPort = freePort(),
                        const std::string& more = "") {
        configure(std::string(kFreePort) +
                  "[naming]\nembedded = false\nport = " + std::to_string(namingPort) +
                  "\n[security]\ndatabase = \"" + (folder_.path() / "users.db").string() +
                  "\"\nhash_memory_kib = 8\nhash_passes = 1\n[session]\n" + session + "\n" + more);
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

    /// The agent's own lines without those of its monitor thread.
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
    }

    TemporaryDirectory folder_;
    EmptyManagerFactory factory_;
    CallLog log_;
    std::list<RecordedInterface> interfaces_;
    TraceCapture trace_;
    bool needsStop_ = false;
};

}  // namespace kelp::test
