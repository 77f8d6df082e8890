#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/exception_text.h>
#include <kelp/orb/request.h>
#include <kelp/orb/timeouts.h>
#include <kelp/util/mutex.h>
#include <kelp/util/shown_file.h>

#include <algorithm>
#include <exception>
#include <limits>
#include <optional>

#include "access/gate_policy.h"
#include "access/nms_reference_check.h"
#include "access/oss_access.h"
#include "config/base_settings.h"
#include "config/manager_registry.h"
#include "naming/embedded_naming.h"
#include "naming/naming_registration.h"
#include "orb/orb_life.h"
#include "orb/published.h"
#include "orb/tls_renewal.h"
#include "requests/interception_adapter.h"

namespace NS_CORBA {

namespace {

using kelp::util::LockRank;
using kelp::util::MutexLock;

constexpr const char* kFile = "corbabaseagentconfig";

/// Convert a time-out in units of 100 ns to milliseconds. A limit below 1 ms becomes 1 ms, because
/// 0 means no limit.
std::chrono::milliseconds milliseconds(std::uint64_t limit100ns) {
    constexpr std::uint64_t unitsPerMs = 10000;
    if (limit100ns == 0)
        return std::chrono::milliseconds(0);
    return std::chrono::milliseconds(std::max<std::uint64_t>(limit100ns / unitsPerMs, 1));
}

bool refused(const std::string& whyNot) {
    tracePoint(kFile);
    TaTrace("[CorbaBaseAgentConfig::Init] %s!", whyNot.c_str());
    return false;
}

/// The address of a service. It is read from the configuration at each query until the first
/// update(), then only by update().
class ServiceLocation {
  public:
    explicit ServiceLocation(const char* table) : table_(table) {}

    void update() KELP_EXCLUDES(mutex_) {
        const ServiceAddress read = readServiceAddress(table_);
        const MutexLock guard(mutex_);
        address_ = read;
    }

    void get(std::string& host, int& port, bool ssl) const KELP_EXCLUDES(mutex_) {
        const ServiceAddress address = current();
        host = address.host;
        port = ssl ? address.sslPort : address.port;
    }

  private:
    ServiceAddress current() const KELP_EXCLUDES(mutex_) {
        {
            const MutexLock guard(mutex_);
            if (address_)
                return *address_;
        }
        return readServiceAddress(table_);
    }

    const char* const table_;
    mutable kelp::util::Mutex mutex_{LockRank::Leaf, "ServiceLocation::mutex_"};
    std::optional<ServiceAddress> address_ KELP_GUARDED_BY(mutex_);
};

}  // namespace

struct CorbaBaseAgentConfig::State {
    /// Held for a whole Init.
    kelp::util::Mutex initMutex{LockRank::BaseControl, "CorbaBaseAgentConfig::State::initMutex"};
    Published<SessionSettings> session;  // null before the first Init
    OssAccess access;
    GatePolicy gatePolicy{access};
    InterceptionAdapter interception{access};
    const NmsReferenceCheck references{access};
    ManagerRegistry managers{isManagerOffered};
    NamingRegistration registration;
    kelp::util::Mutex referenceMutex{LockRank::Leaf, "CorbaBaseAgentConfig::State::referenceMutex"};
    kelp::util::ShownFile referenceFile KELP_GUARDED_BY(referenceMutex);
    ServiceLocation naming{"naming"};
    ServiceLocation notification{"notification"};
    TlsRenewal tlsRenewal;

    SessionSettings sessionSettings() const {
        const SessionSettings* const settings = session.get();
        return settings == nullptr ? readSessionSettings() : *settings;
    }

    bool startOrb() KELP_REQUIRES(initMutex);
    static bool startNaming();
};

CorbaBaseAgentConfig::CorbaBaseAgentConfig() : state_(std::make_unique<State>()) {}
CorbaBaseAgentConfig::~CorbaBaseAgentConfig() = default;

CorbaBaseAgentConfig* CorbaBaseAgentConfig::Instance() {
    // never destroyed, because requests on the ORB's threads may outlive main
    static CorbaBaseAgentConfig* const config = new CorbaBaseAgentConfig;
    return config;
}

bool CorbaBaseAgentConfig::Init(const char* bundleName) {
    const FuncGuardTrace trace("CorbaBaseAgentConfig::Init");
    const MutexLock one(state_->initMutex);
    try {
        std::string whyNot;
        if (!state_->access.read(whyNot))
            return refused("access.allowed_oss: " + whyNot);
        if (!state_->startOrb())
            return false;
    } catch (const CORBA::Exception& failure) {
        tracePoint(kFile);
        TaException(failure, "[CorbaBaseAgentConfig::Init] Raised while the ORB was started!");
        return false;
    } catch (const std::exception& failure) {
        return refused(failure.what());
    }
    tracePoint(kFile);
    TaDebugWithPara(3, "[CorbaBaseAgentConfig::Init] Ready for %s",
                    bundleName != nullptr ? bundleName : "");
    return true;
}

bool CorbaBaseAgentConfig::State::startOrb() {
    OrbLife& life = OrbLife::instance();
    if (life.stage() == OrbLife::Stage::Running)
        return true;
    if (!life.destroy())
        return refused("The ORB of the last run still waits for calls in progress");
    std::string whyNot;
    std::optional<kelp::orb::OrbOptions> options = readOrbOptions(whyNot);
    if (!options)
        return refused(whyNot);
    options->gatePolicy = &gatePolicy;
    const SessionSettings settings = readSessionSettings();
    kelp::orb::checkForwards(&references);
    try {
        life.start(*options, options->threadsMax, interception);
    } catch (const CORBA::Exception& failure) {
        return refused("The ORB cannot listen on " + listenText(*options) + ": " +
                       kelp::orb::exceptionText(failure));
    }
    if (!startNaming())
        return false;
    if (options->tlsListen.empty())
        tlsRenewal.stop();
    else
        tlsRenewal.start();
    session.publish(settings);
    return true;
}

bool CorbaBaseAgentConfig::State::startNaming() {
    try {
        const CORBA::ORB_var orb = OrbLife::instance().orb();
        const PortableServer::POA_var root = OrbLife::instance().rootPoa();
        EmbeddedNaming::instance().start(orb.in(), root.in());
        return true;
    } catch (const CORBA::Exception& failure) {
        return refused("The embedded naming service cannot start: " +
                       kelp::orb::exceptionText(failure));
    }
}

void CorbaBaseAgentConfig::ReleaseOrb() {
    state_->tlsRenewal.stop();
    OrbLife::instance().release();
}

CORBA::ORB_ptr CorbaBaseAgentConfig::GetOrb() const {
    CORBA::ORB_var orb = OrbLife::instance().orb();
    if (CORBA::is_nil(orb.in()))
        throw CORBA::BAD_INV_ORDER();
    return orb._retn();
}

PortableServer::POA_ptr CorbaBaseAgentConfig::GetRootPoa() const {
    PortableServer::POA_var root = OrbLife::instance().rootPoa();
    if (CORBA::is_nil(root.in()))
        throw CORBA::BAD_INV_ORDER();
    return root._retn();
}

void CorbaBaseAgentConfig::EnterManagerInterface(CorbaI* managerInterface) {
    state_->managers.enter(managerInterface);
}

void CorbaBaseAgentConfig::LeaveManagerInterface(CorbaI* managerInterface) {
    state_->managers.leave(managerInterface);
}

bool CorbaBaseAgentConfig::EnterNorthMgrFactory(const std::string& managerName,
                                                NorthMgrFactory* factory) {
    return state_->managers.enter(managerName, factory);
}

void CorbaBaseAgentConfig::LeaveNorthMgrFactory(const std::string& managerName) {
    state_->managers.leave(managerName);
}

void CorbaBaseAgentConfig::EnterFallbackMgrFactory(const std::string& managerName,
                                                   NorthMgrFactory* factory) {
    state_->managers.enterFallback(managerName, factory);
}

void CorbaBaseAgentConfig::LeaveFallbackMgrFactory(const std::string& managerName) {
    state_->managers.leaveFallback(managerName);
}

const MGRList* CorbaBaseAgentConfig::GetMGRList() {
    return state_->managers.hold();
}

void CorbaBaseAgentConfig::FreeMGRList() {
    state_->managers.release();
}

const NorthMgrMap* CorbaBaseAgentConfig::GetNorthMgrMap() const {
    return state_->managers.factories();
}

void CorbaBaseAgentConfig::SetReqInterceptorImpl(RequestInterceptorBase* interceptor) {
    state_->interception.set(interceptor);
}

bool CorbaBaseAgentConfig::IsValidOssIP(std::uint32_t ipv4) const {
    if (ipv4 != 0)
        return state_->access.allowsIpv4(ipv4);
    const kelp::orb::RequestInfo* const request = kelp::orb::currentRequest();
    return request != nullptr && request->peer().ipv6 &&
           state_->access.allowsIpv6(*request->peer().ipv6);
}

bool CorbaBaseAgentConfig::IsValidNmsReference(CORBA::Object_ptr reference,
                                               std::string* refused) const {
    return state_->references.allows(reference, kelp::oplog::SecurityEvent::LogIn, refused);
}

bool CorbaBaseAgentConfig::IsValidConsumer(CORBA::Object_ptr reference) const {
    return state_->references.allows(reference, kelp::oplog::SecurityEvent::RefusedAddress);
}

int CorbaBaseAgentConfig::GetSessionReleaseStrategy() const {
    return state_->sessionSettings().releaseStrategy;
}

bool CorbaBaseAgentConfig::GetEmsPingMode() const {
    return state_->sessionSettings().pingMode;
}

int CorbaBaseAgentConfig::TimeInterval() const {
    return state_->sessionSettings().pingIntervalS;
}

int CorbaBaseAgentConfig::TimeOut() const {
    return state_->sessionSettings().callTimeoutS;
}

int CorbaBaseAgentConfig::GetSilentTime() const {
    return state_->sessionSettings().silentTimeS;
}

int CorbaBaseAgentConfig::PingThreads() const {
    return state_->sessionSettings().pingThreads;
}

bool CorbaBaseAgentConfig::CallIsLife() const {
    return state_->sessionSettings().callIsLife;
}

int CorbaBaseAgentConfig::GetMaxSession() const {
    return number("session.max_sessions");
}

int CorbaBaseAgentConfig::IteratorRestriction() const {
    return number("iterator.soft_limit");
}

int CorbaBaseAgentConfig::IteratorNum() const {
    return number("iterator.hard_limit");
}

int CorbaBaseAgentConfig::IteratorsPerSession() const {
    return number("iterator.per_session_max");
}

int CorbaBaseAgentConfig::IteratorBatchMax() const {
    return number("iterator.batch_max");
}

int CorbaBaseAgentConfig::IteratorReadAhead() const {
    return number("iterator.read_ahead");
}

std::string CorbaBaseAgentConfig::EmsName() const {
    return config().text("ems.name");
}

std::string CorbaBaseAgentConfig::IDLVersion() const {
    return config().text("ems.version");
}

int CorbaBaseAgentConfig::TimeShowAppearance() const {
    return number("time.appearance");
}

int CorbaBaseAgentConfig::TimeZoneRefPoint() const {
    return number("time.reference");
}

bool CorbaBaseAgentConfig::SetCurrentThreadTimeOutPolicy(CORBA::ORB_ptr orb,
                                                         std::uint64_t limit100ns) {
    return !CORBA::is_nil(orb) && kelp::orb::setThreadTimeout(milliseconds(limit100ns));
}

bool CorbaBaseAgentConfig::SetORBTimeOutPolicy(CORBA::ORB_ptr orb, std::uint64_t limit100ns) {
    return !CORBA::is_nil(orb) && kelp::orb::setProcessTimeout(milliseconds(limit100ns));
}

int CorbaBaseAgentConfig::GetSSLMode() const {
    return number("tls.mode");
}

void CorbaBaseAgentConfig::UpdateNamingServiceParams() {
    state_->naming.update();
}

void CorbaBaseAgentConfig::GetNamingServiceAddr(std::string& host, int& port, bool ssl) const {
    state_->naming.get(host, port, ssl);
}

void CorbaBaseAgentConfig::UpdateNotifyServiceParams(void*) {
    state_->notification.update();
}

void CorbaBaseAgentConfig::GetNotifyServiceAddr(std::string& host, int& port, bool ssl) const {
    state_->notification.get(host, port, ssl);
}

void CorbaBaseAgentConfig::EmbedNamingService(bool embed) {
    EmbeddedNaming::instance().want(embed);
}

bool CorbaBaseAgentConfig::IsNamingServiceEmbedded() const {
    const CosNaming::NamingContext_var root = EmbeddedNaming::instance().root();
    return !CORBA::is_nil(root.in());
}

CosNaming::NamingContext_ptr CorbaBaseAgentConfig::NamingRoot(const std::string& address) const {
    const CORBA::ORB_var orb = GetOrb();
    return namingRoot(orb.in(), address);
}

void CorbaBaseAgentConfig::ConstructEmsFactoryName(CosNaming::Name& name) const {
    constructFactoryName(name);
}

namespace {

std::string namingAddress(const CorbaBaseAgentConfig& base) {
    const bool ssl = base.GetSSLMode() != 0;
    std::string host;
    int port = 0;
    base.GetNamingServiceAddr(host, port, ssl);
    // an IPv6 host needs brackets
    if (host.find(':') != std::string::npos && host.front() != '[')
        host = "[" + host + "]";
    return (ssl ? "corbaloc:ssliop:" : "corbaloc:iiop:") + host + ":" + std::to_string(port) +
           "/NameService";
}

}  // namespace

bool CorbaBaseAgentConfig::RegistEMSFactoryName(CORBA::Object_ptr factory) {
    try {
        CosNaming::Name name;
        ConstructEmsFactoryName(name);
        const CORBA::ORB_var orb = OrbLife::instance().orb();
        return state_->registration.bind(orb.in(), namingAddress(*this), name, factory);
    } catch (const std::exception& failure) {
        tracePoint(kFile);
        TaTrace("[CorbaBaseAgentConfig::RegistEMSFactoryName] %s!", failure.what());
    }
    return false;
}

void CorbaBaseAgentConfig::UnRegistEMSFactoryName() {
    try {
        const CORBA::ORB_var orb = OrbLife::instance().orb();
        state_->registration.unbind(orb.in(), namingAddress(*this));
    } catch (const std::exception& failure) {
        tracePoint(kFile);
        TaTrace("[CorbaBaseAgentConfig::UnRegistEMSFactoryName] %s!", failure.what());
    }
}

bool CorbaBaseAgentConfig::WriteFactoryReference(CORBA::Object_ptr factory) {
    std::string whyNot;
    try {
        const std::string file = config().text("naming.ior_file");
        if (file.empty())
            return true;
        const CORBA::ORB_var orb = GetOrb();
        const CORBA::String_var reference = orb->object_to_string(factory);
        const MutexLock guard(state_->referenceMutex);
        whyNot = state_->referenceFile.show(file, std::string(reference.in()) + "\n");
    } catch (const CORBA::Exception& failure) {
        whyNot = kelp::orb::exceptionText(failure);
    } catch (const std::exception& failure) {
        whyNot = failure.what();
    }
    if (whyNot.empty())
        return true;
    tracePoint(kFile);
    TaTrace("[CorbaBaseAgentConfig::WriteFactoryReference] naming.ior_file: %s!", whyNot.c_str());
    return false;
}

void CorbaBaseAgentConfig::RemoveFactoryReference() {
    const MutexLock guard(state_->referenceMutex);
    state_->referenceFile.remove();
}

}  // namespace NS_CORBA
