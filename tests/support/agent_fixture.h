#pragma once

#include <ace/OS_NS_sys_time.h>
#include <gtest/gtest.h>
#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/session_mgr.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/bundlemgr/light_event.h>
#include <kelp/corbabase/agent_server.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/event_mgr.h>
#include <kelp/corbabase/security_mgr.h>
#include <kelp/corbabase/supplier_mgr.h>
#include <kelp/orb/timeouts.h>
#include <kelp/users/user_database.h>
#include <kelp/util/mutex.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <ostream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "error/error_translator.h"
#include "interceptor/corba_request_interceptor_impl.h"
#include "session/ems_session_factory_impl.h"
#include "session/ems_session_impl.h"
#include "support/temporary_directory.h"
#include "support/test_manager.h"
#include "support/test_nms.h"
#include "support/wait_until.h"
#include "util/agent_state.h"
#include "util/servant_ref.h"

namespace kelp::test {

/// Configuration of a RunningAgent. By default pings are sent only at the stop, as the interval is
/// a day.
struct AgentOptions {
    int releaseStrategy = 0;
    bool pingMode = true;
    int pingIntervalS = 86400;
    int callTimeoutS = 5;
    int silentTimeS = 3;
    int maxSessions = 100;
    bool reuse = false;
    bool startsSessionMgr = true;
    int lockoutFailures = 5;
    int lockoutS = 300;
    int iteratorSoftLimit = 200;
    int iteratorHardLimit = 1000;
    int iteratorsPerSession = 1000000;  ///< so high that only the limits above take effect
    std::string inventory{};            ///< path of the inventory's database; empty for none
    std::string accessLines{};          ///< further lines for [access]
    std::string sessionLines{};         ///< further lines for [session]
    std::string tables{};               ///< further tables

    AgentOptions with(int strategy, bool pings) const {
        AgentOptions changed = *this;
        changed.releaseStrategy = strategy;
        changed.pingMode = pings;
        return changed;
    }
    AgentOptions withRoundsEvery(int seconds) const {
        AgentOptions changed = *this;
        changed.pingIntervalS = seconds;
        return changed;
    }
    AgentOptions withIteratorLimits(int soft, int hard) const {
        AgentOptions changed = *this;
        changed.iteratorSoftLimit = soft;
        changed.iteratorHardLimit = hard;
        return changed;
    }
    AgentOptions withIteratorsPerSession(int most) const {
        AgentOptions changed = *this;
        changed.iteratorsPerSession = most;
        return changed;
    }
    AgentOptions withAccess(const std::string& lines) const {
        AgentOptions changed = *this;
        changed.accessLines = lines;
        return changed;
    }
    AgentOptions withSession(const std::string& lines) const {
        AgentOptions changed = *this;
        changed.sessionLines = lines;
        return changed;
    }
    AgentOptions withTables(const std::string& toml) const {
        AgentOptions changed = *this;
        changed.tables = toml;
        return changed;
    }
    AgentOptions withInventory(const std::string& database) const {
        AgentOptions changed = *this;
        changed.inventory = database;
        return changed;
    }
    AgentOptions withReuse() const {
        AgentOptions changed = *this;
        changed.reuse = true;
        return changed;
    }
};

/// Print the options in the name of a test.
inline void PrintTo(const AgentOptions& options, std::ostream* out) {
    *out << "strategy " << options.releaseStrategy << ", ping mode "
         << (options.pingMode ? "on" : "off") << (options.reuse ? ", reuse" : "");
}

/// Return the error code of a ProcessingFailureException. Without a catalogue, the reason begins
/// with the code in brackets.
inline unsigned long codeOf(const globaldefs::ProcessingFailureException& refusal) {
    return std::strtoul(refusal.errorReason.in() + 1, nullptr, 10);
}

/// Return the code with which a call is refused, or 0 if it succeeds.
template <class Call>
unsigned long refusalOf(Call call) {
    try {
        call();
        return 0;
    } catch (const globaldefs::ProcessingFailureException& refusal) {
        return codeOf(refusal);
    }
}

/// True if a call on an object of an ended session fails in one of the permitted ways: its POA no
/// longer exists, is being destroyed, or rejects requests.
template <class Call>
bool isGone(Call call) {
    try {
        call();
        return false;
    } catch (const CORBA::OBJECT_NOT_EXIST&) {
        return true;
    } catch (const CORBA::OBJ_ADAPTER&) {
        return true;
    } catch (const CORBA::TRANSIENT&) {
        return true;
    }
}

/// The agent's session part in this process, with a real ORB, a user "admin" and a manager "EMS".
/// It starts what the module starts, except for the naming monitor and the manager interfaces. The
/// destructor stops everything in order.
class RunningAgent {
  public:
    static constexpr const char* kUser = "admin";
    static constexpr const char* kPassword = "secret";

    explicit RunningAgent(const AgentOptions& options = {}) {
        NS_KELPCORBA::AgentState::instance().exitRequested = false;
        orb::setThreadTimeout(std::chrono::seconds(30));
        configure(options);
        addUser(kUser);
        base().EnterNorthMgrFactory("EMS", &managers_);
        if (!base().Init("test") || !NS_KELPCORBA::CorbaAgentConfig::Instance()->Init() ||
            !NS_KELPCORBA::CorbaAgentConfig::Instance()->InitEmsSessionFactoryIImplObj())
            throw std::runtime_error("the agent's ORB does not start");
        worker_ = std::thread([] { NS_CORBA::AgentServer::AgentWorker(nullptr); });
        base().SetReqInterceptorImpl(&interceptor_);
        if (!NS_CORBA::CorbaSecurityMgr::Instance()->Init())
            throw std::runtime_error("no user database");
        if (options.startsSessionMgr)
            startSessionMgr();
        if (NS_CORBA::AgentServer::Activate() != 0)
            throw std::runtime_error("the agent lets no callers through");
        orb_ = base().GetOrb();
        root_ = base().GetRootPoa();
    }
    ~RunningAgent() { stop(); }
    RunningAgent(const RunningAgent&) = delete;
    RunningAgent& operator=(const RunningAgent&) = delete;

    // -- the parts that run
    static NS_CORBA::CorbaBaseAgentConfig& base() {
        return *NS_CORBA::CorbaBaseAgentConfig::Instance();
    }
    static NS_KELPCORBA::SessionMgr& sessions() { return *NS_KELPCORBA::SessionMgr::Instance(); }
    static NS_KELPCORBA::EmsSessionFactory_IImpl& factory() {
        return *NS_KELPCORBA::EmsSessionFactory_IImpl::Instance();
    }
    CORBA::ORB_ptr orb() const { return orb_.in(); }
    PortableServer::POA_ptr root() const { return root_.in(); }
    TestManagerFactory& managers() { return managers_; }
    TestManager& manager() { return *managers_.last; }

    void addUser(const std::string& name) {
        kelp::users::UserDatabase(kelp::users::userDatabaseFile())
            .add(name, kPassword, kelp::users::configuredHashCost());
    }
    int startSessionMgr() {
        const int result = sessions().Init();
        NS_KELPCORBA::AgentState::instance().sessionMgrStarted = result == 0;
        return result;
    }

    /// Return NMS number `index`, counted from 1. It is created on first use.
    TestNms& nms(unsigned index = 1) {
        const std::lock_guard<std::mutex> guard(nmsMutex_);
        std::unique_ptr<TestNms>& each = nms_[index];
        if (!each)
            each = std::make_unique<TestNms>(orb(), root(), index);
        return *each;
    }
    /// Return a reference to the same object whose calls go over a connection.
    template <class I>
    typename I::_var_type overTheWire(CORBA::Object_ptr reference) const {
        const CORBA::Object_var remote = referenceOverTheWire(orb(), reference, "127.1", port());
        return typename I::_var_type(I::_unchecked_narrow(remote.in()));
    }
    std::uint16_t port() const {
        const CORBA::Object_var any = root_->create_reference("IDL:omg.org/CORBA/Object:1.0");
        orb::ReferenceContent content;
        orb::describe(orb(), any.in(), content);
        return content.endpoints.front().port;
    }
    emsSessionFactory::EmsSessionFactory_I_var remoteFactory() const {
        const emsSessionFactory::EmsSessionFactory_I_var own =
            NS_KELPCORBA::CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj();
        return overTheWire<emsSessionFactory::EmsSessionFactory_I>(own.in());
    }

    // -- log-ins
    // Log an NMS in through the factory's servant.
    emsSession::EmsSession_I_var logIn(const TestNms& nms, const std::string& user = kUser,
                                       const std::string& password = kPassword) {
        return logIn(nms.reference(), user, password);
    }
    emsSession::EmsSession_I_var logIn(nmsSession::NmsSession_I_ptr nms,
                                       const std::string& user = kUser,
                                       const std::string& password = kPassword) {
        emsSession::EmsSession_I_var session;
        factory().getEmsSession(user.c_str(), password.c_str(), nms, session.out());
        return session;
    }
    /// Return the listed session of this NMS and user, pinned; null if none is listed.
    static NS_KELPCORBA::ServantRef<NS_KELPCORBA::EmsSession_IImpl> listed(
        const TestNms& nms, const std::string& user = kUser) {
        return sessions().PinNmsSession(nms.hostInfo(), user);
    }
    static std::size_t liveLogins(const TestNms& nms, const std::string& user = kUser) {
        return liveLogins(nms.hostInfo(), user);
    }
    static std::size_t liveLogins(const std::string& hostInfo, const std::string& user = kUser) {
        return NS_CORBA::CorbaSecurityMgr::Instance()->LiveLogins(hostInfo, user);
    }
    /// Return the session's manager of that name; calls go over a connection.
    template <class I = common::Common_I>
    typename I::_var_type remoteManager(emsSession::EmsSession_I_ptr session,
                                        const char* name = "EMS") const {
        common::Common_I_var manager;
        session->getManager(name, manager.out());
        return overTheWire<I>(manager.in());
    }

    // -- stop
    // Do the first step of the agent's stop: set the exit flag and wake every waiting thread.
    void requestExit() {
        NS_KELPCORBA::AgentState& state = NS_KELPCORBA::AgentState::instance();
        {
            const util::MutexLock lock(state.monitorMutex);
            state.exitRequested = true;
        }
        sessions().WakeAllWaiting();
    }
    /// True if every waiting thread leaves within 15 s.
    static bool waitingThreadsLeave() {
        const ACE_Time_Value deadline(ACE_OS::gettimeofday() + ACE_Time_Value(15));
        return sessions().WaitingThreads().wait(&deadline) != -1;
    }
    /// End every session and the ping thread.
    void endSessions() {
        if (!std::exchange(sessionsEnded_, true))
            sessions().ExitThread();
    }
    void stop() {
        if (std::exchange(stopped_, true))
            return;
        requestExit();
        if (NS_KELPCORBA::AgentState::instance().sessionMgrStarted)
            endSessions();
        base().SetReqInterceptorImpl(nullptr);
        NS_CORBA::AgentServer::Discard();
        NS_CORBA::AgentServer::ShutDown();
        NS_KELPCORBA::EmsSessionFactory_IImpl::Destroy();
        NS_KELPCORBA::SessionMgr::Destroy();
        NS_KELPCORBA::AgentState::instance().sessionMgrStarted = false;
        NS_CORBA::CorbaSecurityMgr::Destroy();
        NS_CORBA::EventMgr::Destroy();
        NS_CORBA::SuppilerMgr::Destroy();
        NS_KELPCORBA::CorbaAgentConfig::Destroy();
        nms_.clear();
        root_ = PortableServer::POA::_nil();
        orb_ = CORBA::ORB::_nil();
        NS_CORBA::AgentServer::Destroy();
        if (worker_.joinable())
            worker_.join();
        NS_BUNDLEMGR1::LightEventMgr::Instance()->Stop();
        base().LeaveNorthMgrFactory("EMS");
        NS_KELPCORBA::KelpErrTranslator::Destroy();
        NS_BUNDLEMGR1::ConfigStore::instance().reset();
        EXPECT_EQ(managers_.alive, 0) << "a manager's servant is left";
    }

    /// Read the configuration again, with these options.
    void configure(const AgentOptions& options) {
        const auto number = [](const char* key, int value) {
            return std::string(key) + " = " + std::to_string(value) + "\n";
        };
        const std::string toml =
            "[orb]\nlisten = \"127.0.0.1:0\"\n[naming]\nembedded = false\n"
            // the test NMS have different spellings of the loopback address, which all reach this
            // process
            "[access]\nnms_reference = \"any\"\n" +
            options.accessLines + "[security]\ndatabase = \"" +
            (folder_.path() / "users.db").string() + "\"\nhash_memory_kib = 8\nhash_passes = 1\n" +
            number("lockout_failures", options.lockoutFailures) +
            number("lockout_s", options.lockoutS) + "[session]\n" + options.sessionLines +
            number("release_strategy", options.releaseStrategy) +
            "ping_mode = " + (options.pingMode ? "true\n" : "false\n") +
            number("ping_interval_s", options.pingIntervalS) +
            number("call_timeout_s", options.callTimeoutS) +
            number("silent_time_s", options.silentTimeS) +
            number("max_sessions", options.maxSessions) + "[iterator]\n" +
            number("soft_limit", options.iteratorSoftLimit) +
            number("hard_limit", options.iteratorHardLimit) +
            number("per_session_max", options.iteratorsPerSession) + "[inventory]\ndatabase = \"" +
            options.inventory + "\"\n[agent]\n" + number("bUseBTName", options.reuse ? 1 : 0) +
            options.tables;
        for (const NS_BUNDLEMGR1::ConfigProblem& problem :
             NS_BUNDLEMGR1::ConfigStore::instance().loadText(toml, "agent.toml"))
            ADD_FAILURE() << problem.text();
    }

  private:
    TemporaryDirectory folder_;
    TestManagerFactory managers_;
    NS_KELPCORBA::Corba_Request_InterceptorImpl interceptor_;
    std::thread worker_;
    CORBA::ORB_var orb_;
    PortableServer::POA_var root_;
    std::mutex nmsMutex_;
    std::map<unsigned, std::unique_ptr<TestNms>> nms_;
    bool sessionsEnded_ = false;
    bool stopped_ = false;
};

}  // namespace kelp::test
