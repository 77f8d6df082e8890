#include "corbaenv/naming_monitor.h"

#include <kelp/agent/corba_agent_config.h>
#include <kelp/agent/read_ahead.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/naming_findings.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/timeouts.h>
#include <kelp/util/thread_work.h>

#include <chrono>
#include <ctime>
#include <exception>

#include "util/agent_state.h"
#include "util/base_config.h"

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "corbaagent";
constexpr std::chrono::seconds kRoundInterval{3};
/// A round makes at most a few calls, and the stop must not wait long for one.
constexpr std::chrono::seconds kCallLimit{2};

NS_CORBA::NamingFindings& watch() {
    return NS_CORBA::NamingFindings::Instance();
}

std::string textOf(CORBA::Object_ptr reference) {
    const CORBA::ORB_var orb = baseConfig().GetOrb();
    const CORBA::String_var text = orb->object_to_string(reference);
    return std::string(text.in());
}

void trace(const char* text, const CORBA::Exception& reason, int line = __builtin_LINE()) {
    NS_CORBA::tracePoint(kSubject, line);
    NS_CORBA::TaTrace("%s%s", text, kelp::orb::exceptionText(reason).c_str());
}

/// Sleep until the next round is due. Return false when the agent stops.
bool awaitRound(AgentState& state) {
    const auto deadline =
        std::chrono::system_clock::from_time_t(std::time(nullptr)) + kRoundInterval;
    const kelp::util::MutexLock lock(state.monitorMutex);
    while (!state.exitRequested) {
        if (state.monitorCondition.wait_until(state.monitorMutex, deadline) ==
            kelp::util::ConditionVariable::Status::timeout)
            return !state.exitRequested;
    }
    return false;
}

}  // namespace

NamingMonitor::NamingMonitor(emsSessionFactory::EmsSessionFactory_I_ptr own)
    : own_(emsSessionFactory::EmsSessionFactory_I::_duplicate(own)) {}

void NamingMonitor::Round() {
    const bool ssl = baseConfig().GetSSLMode() != 0;
    try {
        // while the factory is registered the context is known and works
        if (registered_ || FindRootContext(ssl))
            CheckEntry();
        else
            watch().Failed("the naming service has no root context");
    } catch (const CosNaming::NamingContext::NotFound& ex) {
        trace(
            "[Monitor Thread] emssessionfactory is not detected in the NamingService! "
            "Now try to register it. error reason:",
            ex);
        watch().Checked(false);
        if (Register())
            watch().Bound();
        else
            watch().Failed("the session factory could not be bound");
    } catch (const CORBA::SystemException& ex) {
        trace("[Monitor Thread] system exception occured! error reason:", ex);
        Fail(ex);
    } catch (const CORBA::Exception& ex) {
        trace("[Monitor Thread] unknown exception occurred! error reason:", ex);
        Fail(ex);
    }
    baseConfig().UpdateNotifyServiceParams(nullptr);
    baseConfig().GetNotifyServiceAddr(notifyHost_, notifyPort_, ssl);
}

void NamingMonitor::Fail(const CORBA::Exception& reason) {
    registered_ = false;
    watch().Failed(kelp::orb::exceptionText(reason));
}

bool NamingMonitor::FindRootContext(bool ssl) {
    std::string host;
    int port = 0;
    baseConfig().UpdateNamingServiceParams();
    baseConfig().GetNamingServiceAddr(host, port, ssl);
    const std::string address = AddressOf(host, port, ssl);
    addressTrace_ = "[Monitor Thread] NamingService string is: " + address;

    watch().Begin(textOf(own_.in()));
    baseConfig().ConstructEmsFactoryName(name_);
    root_ = baseConfig().NamingRoot(address);
    if (!CORBA::is_nil(root_.in()))
        return true;
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("[Monitor Thread] Root Context is nil!");
    return false;
}

void NamingMonitor::CheckEntry() {
    const CORBA::Object_var entry = root_->resolve(name_);
    const std::string found = textOf(entry.in());
    registered_ = found == textOf(own_.in());
    if (registered_) {
        watch().Checked(true);
        return;
    }
    // never call the foreign entry: whoever put it there would learn what we do, or could make us
    // call any address
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[Monitor Thread] invalid emssessionfactory ior detected in NamingService! "
        "Now try to re-register it.");
    watch().FoundForeign(found, Register());
}

bool NamingMonitor::Register() {
    NS_CORBA::tracePoint(kSubject);
    NS_CORBA::TaTrace("%s", addressTrace_.c_str());
    registered_ = false;
    // a round that outlasts the stop must not bind again what the stop has unbound
    return !AgentState::instance().exitRequested && baseConfig().RegistEMSFactoryName(own_.in());
}

std::string NamingMonitor::AddressOf(const std::string& host, int port, bool ssl) {
    const bool isBare = host.find(':') != std::string::npos && host.front() != '[';
    return (ssl ? "corbaloc:ssliop:" : "corbaloc:iiop:") + (isBare ? "[" + host + "]" : host) +
           ":" + std::to_string(port) + "/NameService";
}

ACE_THR_FUNC_RETURN NamingMonitor::Run(void*) {
    if (!kelp::orb::setThreadTimeout(kCallLimit)) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaDebug(1, "[Monitor Thread] the call time-out could not be set!");
    }
    const emsSessionFactory::EmsSessionFactory_I_var own =
        CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj();
    NamingMonitor monitor(own.in());
    while (awaitRound(AgentState::instance())) {
        const kelp::util::ThreadWork work("checks the naming entry", kelp::util::kHangsAfter);
        try {
            ReadAheadHolders::dropStale(std::chrono::steady_clock::now());
            monitor.Round();
        } catch (const std::exception& ex) {
            NS_CORBA::tracePoint(kSubject);
            NS_CORBA::TaTrace("[Monitor Thread] the round failed: %s", ex.what());
        }
    }
    return nullptr;
}

}  // namespace NS_KELPCORBA
