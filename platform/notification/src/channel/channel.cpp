#include <kelp/notification/channel.h>

#include <optional>
#include <utility>

#include "channel/channel_core.h"
#include "filter/filter_factory.h"
#include "owners/clearance.h"
#include "servants/event_channel.h"

namespace kelp::notification {

namespace {

constexpr const char* kPoaName = "notification";

PortableServer::POA_ptr makePoa(CORBA::ORB_ptr orb) {
    const CORBA::Object_var object = orb->resolve_initial_references("RootPOA");
    const PortableServer::POA_var root = PortableServer::POA::_narrow(object.in());
    const PortableServer::POAManager_var manager = root->the_POAManager();
    CORBA::PolicyList policies(3);
    policies.length(3);
    policies[0] = root->create_request_processing_policy(PortableServer::USE_SERVANT_MANAGER);
    policies[1] = root->create_servant_retention_policy(PortableServer::NON_RETAIN);
    policies[2] = root->create_id_assignment_policy(PortableServer::USER_ID);
    PortableServer::POA_var made = root->create_POA(kPoaName, manager.in(), policies);
    for (CORBA::ULong i = 0; i < policies.length(); ++i)
        policies[i]->destroy();
    return made._retn();
}

}  // namespace

struct Channel::State {
    PortableServer::POA_var poa;
    std::shared_ptr<ChannelCore> core;
    std::optional<Clearance> clearance;
    EventChannelServant* servant = nullptr;
    PortableServer::ServantBase_var keeper;
    CosNotifyChannelAdmin::EventChannel_var reference;
    bool stopped = false;
};

Channel::Channel(CORBA::ORB_ptr orb, const ChannelSettings& settings, LossListener* listener)
    : state_(std::make_unique<State>()) {
    state_->poa = makePoa(orb);
    state_->core = std::make_shared<ChannelCore>(state_->poa.in(), settings, listener);
    state_->clearance.emplace(state_->core, settings.guard, settings.grace);
    const CORBA::Object_var factory =
        state_->core->activate(new FilterFactoryServant(state_->core), {});
    const CosNotifyFilter::FilterFactory_var filters =
        CosNotifyFilter::FilterFactory::_narrow(factory.in());
    state_->servant = new EventChannelServant(state_->core, filters.in());
    state_->servant->_add_ref();
    state_->keeper = state_->servant;
    state_->reference = state_->servant->activate();
}

Channel::~Channel() {
    stop();
}

CosNotifyChannelAdmin::EventChannel_ptr Channel::reference() const {
    return CosNotifyChannelAdmin::EventChannel::_duplicate(state_->reference.in());
}

void Channel::push(const kelp::orb::StructuredEventPtr& event) {
    state_->core->distribute(makeEvent(event));
}

void Channel::push(const CosNotification::StructuredEvent& event) {
    state_->core->distribute(makeEvent(event));
}

std::vector<ConsumerCounts> Channel::consumers() const {
    std::vector<ConsumerCounts> all;
    for (const std::shared_ptr<ConsumerPath>& each : state_->core->consumerPaths()) {
        ConsumerCounts counts = each->counts();
        counts.admin = each->admin().id;
        counts.proxy = each->proxy();
        counts.owner = each->ownerKey();
        all.push_back(counts);
    }
    return all;
}

ConsumerSubscription Channel::subscriptionOf(std::int32_t admin, std::int32_t proxy) const {
    for (const std::shared_ptr<ConsumerPath>& each : state_->core->consumerPaths()) {
        if (each->admin().id == admin && each->proxy() == proxy)
            return each->description();
    }
    return {};
}

EndedCounts Channel::endedConsumersOf(const std::string& owner) const {
    return state_->core->endedConsumers().of(owner);
}

bool Channel::isDrained() const {
    for (const std::shared_ptr<ConsumerPath>& each : state_->core->consumerPaths()) {
        if (!each->hasDrained())
            return false;
    }
    return true;
}

void Channel::review(std::chrono::steady_clock::time_point now) {
    state_->clearance->review(now);
    state_->core->tend(std::chrono::steady_clock::now());
}

void Channel::stop() {
    if (std::exchange(state_->stopped, true))
        return;
    state_->core->stop();
    state_->servant->close(SupplierPart::Consumer::IsNotTold);
    try {
        // calls in progress end soon: no event is pushed any more and no pull blocks
        state_->poa->destroy(true, true);
    } catch (const CORBA::SystemException&) {
        // the ORB has been destroyed together with its object adapters
    }
    state_->core->forgetObjects();
}

}  // namespace kelp::notification
