#include "corbaenv/namingmonitor.h"

#include "corbaenv/agent_state.h"
#include "util/tracepoint.h"

#include <kelp/agent/corba_agent_config.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/timeouts.h>

#include <ace/Guard_T.h>

#include <chrono>
#include <ctime>
#include <exception>

namespace NS_KELPCORBA {
namespace {

constexpr const char* kSubject = "corbaagent";
constexpr std::time_t kRoundInterval = 3;  // seconds
/// A round makes a few calls at most, and the stop must not wait long for one.
constexpr std::chrono::seconds kCallLimit{2};

NS_CORBA::CorbaBaseAgentConfig& base() {
    return *NS_CORBA::CorbaBaseAgentConfig::Instance();
}

std::string textOf(CORBA::Object_ptr reference) {
    const CORBA::ORB_var orb = base().GetOrb();
    const CORBA::String_var text = orb->object_to_string(reference);
    return std::string(text.in());
}

void trace(const char* text, const CORBA::Exception& reason, int line = __builtin_LINE()) {
    tracePoint(kSubject, line);
    NS_CORBA::TaTrace("%s%s", text, kelp::orb::exceptionText(reason).c_str());
}

/// Sleeps until the next round is due. False when the agent stops.
bool awaitRound(AgentState& state) {
    const ACE_Time_Value deadline(std::time(nullptr) + kRoundInterval);
    const ACE_Guard<ACE_Thread_Mutex> guard(state.monitorMutex);
    while (!state.exitRequested) {
        if (state.monitorCondition.wait(&deadline) == -1)
            return !state.exitRequested;
    }
    return false;
}

}  // namespace

NamingMonitor::NamingMonitor(emsSessionFactory::EmsSessionFactory_I_ptr own)
    : own_(emsSessionFactory::EmsSessionFactory_I::_duplicate(own)) {}

void NamingMonitor::Round() {
    const bool ssl = base().GetSSLMode() != 0;
    try {
        if (registered_) {
            CheckKnownEntry();
        } else {
            if (!FindRootContext(ssl))
                return;
            CheckEntry();
        }
    } catch (const CosNaming::NamingContext::NotFound& ex) {
        trace(
            "[Monitor Thread] emssessionfactory is not detected in the NamingService! "
            "Now try to register it. error reason:",
            ex);
        Register();
    } catch (const CORBA::SystemException& ex) {
        trace("[Monitor Thread] system exception occured! error reason:", ex);
        registered_ = false;
    } catch (const CORBA::Exception& ex) {
        trace("[Monitor Thread] unknown exception occurred! error reason:", ex);
        registered_ = false;
    }
    base().UpdateNotifyServiceParams(nullptr);
    base().GetNotifyServiceAddr(notifyHost_, notifyPort_, ssl);
}

bool NamingMonitor::FindRootContext(bool ssl) {
    std::string host;
    int port = 0;
    base().UpdateNamingServiceParams();
    base().GetNamingServiceAddr(host, port, ssl);
    const std::string address = AddressOf(host, port, ssl);
    addressTrace_ = "[Monitor Thread] NamingService string is: " + address;

    const CORBA::ORB_var orb = base().GetOrb();
    const CORBA::Object_var object = kelp::orb::toReference(orb.in(), address);
    root_ = CosNaming::NamingContext::_narrow(object.in());
    if (!CORBA::is_nil(root_.in()))
        return true;
    tracePoint(kSubject);
    NS_CORBA::TaTrace("[Monitor Thread] Root Context is nil!");
    return false;
}

void NamingMonitor::CheckEntry() {
    base().ConstructEmsFactoryName(name_);
    const CORBA::Object_var entry = root_->resolve(name_);
    if (IsInvalid(entry.in())) {
        tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[Monitor Thread] invalid emssessionfactory ior detected in NamingService! "
            "Now try to re-register it.");
        Register();
    } else if (IsOwn(entry.in())) {
        registered_ = true;
        spared_.clear();
    } else {
        LeaveAlone(textOf(entry.in()));
    }
}

void NamingMonitor::CheckKnownEntry() {
    const CORBA::Object_var entry = root_->resolve(name_);
    // whatever else stands there now, living or dead, is for the next round's full check
    if (CORBA::is_nil(entry.in()) || !IsOwn(entry.in()))
        registered_ = false;
}

bool NamingMonitor::IsInvalid(CORBA::Object_ptr entry) {
    if (CORBA::is_nil(entry))
        return true;
    if (std::string text = textOf(entry); text != watchedEntry_) {
        watch_ = kelp::orb::DeathWatch();
        watchedEntry_ = std::move(text);
    }
    // before the type: asking a dead process for it raises
    if (watch_.isDead(entry, own_.in()))
        return true;
    const emsSessionFactory::EmsSessionFactory_I_var factory =
        emsSessionFactory::EmsSessionFactory_I::_narrow(entry);
    return CORBA::is_nil(factory.in());
}

bool NamingMonitor::IsOwn(CORBA::Object_ptr entry) const {
    return !CORBA::is_nil(own_.in()) &&
           (entry->_is_equivalent(own_.in()) || textOf(entry) == textOf(own_.in()));
}

void NamingMonitor::LeaveAlone(const std::string& entry) {
    if (entry == spared_)
        return;
    tracePoint(kSubject);
    NS_CORBA::TaTrace(
        "[Monitor Thread] the entry in the NamingService is another emssessionfactory, left alone: %s",
        entry.c_str());
    spared_ = entry;
}

void NamingMonitor::Register() {
    tracePoint(kSubject);
    NS_CORBA::TaTrace("%s", addressTrace_.c_str());
    // a round that outlasted the stop must not bind again what the stop has withdrawn
    if (!AgentState::instance().exitRequested)
        base().RegistEMSFactoryName(own_.in());
    registered_ = false;
}

std::string NamingMonitor::AddressOf(const std::string& host, int port, bool ssl) {
    const bool isBare = host.find(':') != std::string::npos && host.front() != '[';
    return (ssl ? "corbaloc:ssliop:" : "corbaloc:iiop:") + (isBare ? "[" + host + "]" : host) + ":" +
           std::to_string(port) + "/NameService";
}

ACE_THR_FUNC_RETURN NamingMonitor::Run(void*) {
    if (!kelp::orb::setThreadTimeout(kCallLimit)) {
        tracePoint(kSubject);
        NS_CORBA::TaDebug(1, "[Monitor Thread] the call time-out could not be set!");
    }
    const emsSessionFactory::EmsSessionFactory_I_var own =
        CorbaAgentConfig::Instance()->GetEmsSessionFactoryIImplObj();
    NamingMonitor monitor(own.in());
    while (awaitRound(AgentState::instance())) {
        try {
            monitor.Round();
        } catch (const std::exception& ex) {
            tracePoint(kSubject);
            NS_CORBA::TaTrace("[Monitor Thread] the round failed: %s", ex.what());
        }
    }
    return nullptr;
}

}  // namespace NS_KELPCORBA
