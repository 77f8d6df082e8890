#include "naming/embedded_naming.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/corbabase/audit_trail.h>
#include <kelp/corbabase/trace.h>
#include <kelp/orb/request.h>

#include <exception>
#include <vector>

#include "naming/factory_path.h"

namespace NS_CORBA {

namespace {

using kelp::util::MutexLock;
using kelp::util::NamingPath;
using NS_BUNDLEMGR1::ConfigStore;
using NS_BUNDLEMGR1::kConfigurationReadEvent;
using NS_BUNDLEMGR1::LightEventMgr;

constexpr const char* kFile = "embeddednaming";

std::size_t sizeOf(const char* key) {
    return static_cast<std::size_t>(ConfigStore::instance().integer(key));
}

std::vector<NamingPath> configuredAliases() {
    std::vector<NamingPath> aliases;
    for (const std::string& text : ConfigStore::instance().texts("naming.aliases"))
        aliases.push_back(kelp::util::toNamingPath(text));
    return aliases;
}

kelp::naming::NamingLimits configuredLimits() {
    kelp::naming::NamingLimits limits;
    limits.listMax = sizeOf("naming.list_max");
    limits.iteratorsPerAddress = sizeOf("naming.iterators_per_address");
    limits.iteratorsMax = sizeOf("naming.iterators_max");
    limits.iteratorIdle = std::chrono::seconds(sizeOf("naming.iterator_idle_s"));
    return limits;
}

kelp::naming::NamingSettings configuredService() {
    return {configuredFactoryPath(), configuredAliases(), configuredLimits()};
}

void record(const kelp::naming::RefusedChange& change) {
    kelp::oplog::SecurityRecord refusal;
    refusal.event = kelp::oplog::SecurityEvent::NamingChange;
    refusal.peer = kelp::orb::currentPeer().withPort;
    refusal.object = change.name;
    refusal.outcome = "NO_PERMISSION";
    refusal.detail = change.operation;
    AuditTrail::Instance().Write(std::move(refusal));
}

}  // namespace

EmbeddedNaming& EmbeddedNaming::instance() {
    static EmbeddedNaming* const naming = new EmbeddedNaming;
    return *naming;
}

std::shared_ptr<kelp::naming::NamingService> EmbeddedNaming::service() const {
    const MutexLock guard(mutex_);
    return service_;
}

void EmbeddedNaming::start(CORBA::ORB_ptr orb, PortableServer::POA_ptr rootPoa) {
    if (!wanted_ || service())
        return;
    auto made =
        std::make_shared<kelp::naming::NamingService>(orb, rootPoa, configuredService(), record);
    {
        const MutexLock guard(mutex_);
        service_.swap(made);
    }
    LightEventMgr::Instance()->RegisterHandler(kConfigurationReadEvent, this);
}

void EmbeddedNaming::letCallersThrough() {
    if (const auto running = service())
        running->letCallersThrough();
}

void EmbeddedNaming::stop() {
    std::shared_ptr<kelp::naming::NamingService> ended;
    {
        const MutexLock guard(mutex_);
        ended.swap(service_);
    }
    if (ended)
        LightEventMgr::Instance()->DeregisterHandler(kConfigurationReadEvent, this);
}

CosNaming::NamingContext_ptr EmbeddedNaming::root() const {
    const auto running = service();
    return running ? running->root() : CosNaming::NamingContext::_nil();
}

void EmbeddedNaming::DoWork(int eventId, const NS_BUNDLEMGR1::LightEventData*) {
    const auto running = service();
    if (eventId != kConfigurationReadEvent || !running)
        return;
    try {
        running->change(configuredAliases(), configuredLimits());
    } catch (const std::exception& failure) {
        tracePoint(kFile);
        TaTrace("[EmbeddedNaming] The aliases are kept as they were: %s", failure.what());
    }
}

}  // namespace NS_CORBA
