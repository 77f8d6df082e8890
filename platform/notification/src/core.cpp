#include "core.h"

#include <kelp/orb/servants.h>

#include <algorithm>
#include <exception>
#include <new>

namespace kelp::notification {

namespace {

using CosNotifyChannelAdmin::AdminLimitExceeded;

AdminLimitExceeded exceeded(const char* name, std::int32_t limit) {
    CosNotifyChannelAdmin::AdminLimit told;
    told.name = CORBA::string_dup(name);
    told.value <<= CORBA::Long(limit);
    return AdminLimitExceeded(told);
}

AddressPlaces::Place placeIn(AddressPlaces& places, const char* name) {
    AddressPlaces::Place place = places.take(kelp::orb::currentPeer());
    if (!place)
        throw exceeded(name, static_cast<std::int32_t>(places.max()));
    return place;
}

AddressPlaces::Place placeIn(AddressPlaces& places) {
    AddressPlaces::Place place = places.take(kelp::orb::currentPeer());
    if (!place)
        throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
    return place;
}

}  // namespace

ChannelCore::ChannelCore(PortableServer::POA_ptr poa, const ChannelSettings& settings, LossListener* listener)
    : ChannelCore(poa, settings, listener, new GuardedObjects(settings.guard)) {}

ChannelCore::ChannelCore(PortableServer::POA_ptr poa, const ChannelSettings& settings, LossListener* listener,
                         GuardedObjects* objects)
    : poa_(PortableServer::POA::_duplicate(poa)),
      locator_(objects),
      objects_(objects),
      settings_(settings),
      dispatcher_(settings.deliveryThreadsMax, settings.slowThreads),
      notices_(settings.delivery.pushTimeout),
      offered_(std::make_shared<TypeFeed>(notices_, allTypes())),
      subscribed_(std::make_shared<TypeFeed>(notices_, TypeSet())),
      offers_(offered_),
      listener_(listener),
      consumerPlaces_(settings.perAddress.consumers),
      supplierPlaces_(settings.perAddress.suppliers),
      adminPlaces_(settings.perAddress.admins),
      filterPlaces_(settings.perAddress.filters) {
    poa_->set_servant_manager(locator_.in());
}

CORBA::Object_ptr ChannelCore::activate(PortableServer::Servant servant) {
    const PortableServer::ServantBase_var handedOver = servant;
    const PortableServer::ObjectId_var id = objects_->enter(servant);
    const std::string interface = kelp::orb::repositoryId(servant);
    return poa_->create_reference_with_id(id.in(), interface.c_str());
}

void ChannelCore::deactivate(PortableServer::Servant servant) {
    objects_->forget(servant);
}

PortableServer::Servant ChannelCore::requireOwn(CosNotifyFilter::Filter_ptr filter) const {
    if (CORBA::is_nil(filter))
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    try {
        const PortableServer::ObjectId_var id = poa_->reference_to_id(filter);
        return objects_->find(id.in());
    } catch (const PortableServer::POA::WrongAdapter&) {
        throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
    }
}

void ChannelCore::push(const EventPtr& event) {
    const std::lock_guard order(intake_);
    std::shared_ptr<const Outlets> outlets;
    {
        const std::lock_guard guard(mutex_);
        outlets = outlets_;
    }
    for (const std::shared_ptr<Outlet>& each : *outlets)
        each->take(event);
}

void ChannelCore::tellLost(const Event& first) {
    LossListener* listener = nullptr;
    {
        const std::lock_guard guard(mutex_);
        listener = listener_;
    }
    if (listener != nullptr)
        listener->eventsLost(first.body);
}

void ChannelCore::addOutlet(const std::shared_ptr<Outlet>& outlet) {
    std::size_t count = 0;
    {
        const std::lock_guard guard(mutex_);
        if (stopped_)
            throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
        const auto changed = std::make_shared<Outlets>(*outlets_);
        std::erase_if(*changed, [](const auto& each) { return each->isClosed(); });
        changed->push_back(outlet);
        count = changed->size();
        outlets_ = changed;
    }
    dispatcher_.serveConsumers(count);
    subscriptionsChanged();
}

void ChannelCore::removeOutlet(const Outlet* outlet) noexcept {
    try {
        {
            const std::lock_guard guard(mutex_);
            const auto changed = std::make_shared<Outlets>(*outlets_);
            std::erase_if(*changed, [outlet](const auto& each) { return each.get() == outlet; });
            outlets_ = changed;
        }
        subscriptionsChanged();
    } catch (const std::exception&) {
        // suppliers hear of it with the next change
    }
}

void ChannelCore::subscriptionsChanged() {
    const std::lock_guard order(subscriptions_);
    TypeSet together;
    for (const std::shared_ptr<Outlet>& each : outlets())
        unite(together, each->subscribedTypes());
    subscribed_->publish(std::move(together));
}

void ChannelCore::tend(std::chrono::steady_clock::time_point now) {
    std::shared_ptr<const Outlets> outlets;
    {
        const std::lock_guard guard(mutex_);
        outlets = outlets_;
    }
    for (const std::shared_ptr<Outlet>& each : *outlets) {
        try {
            each->tend(now);
        } catch (const std::bad_alloc&) {
            // the next time
        }
    }
}

std::vector<std::shared_ptr<Outlet>> ChannelCore::outlets() const {
    Outlets open;
    {
        const std::lock_guard guard(mutex_);
        open = *outlets_;
    }
    std::erase_if(open, [](const auto& each) { return each->isClosed(); });
    return open;
}

std::size_t ChannelCore::queueLimit() const {
    const std::int32_t ofChannel = limits().maxQueueLength;
    return ofChannel > 0 ? std::min(settings_.queueEventsMax, static_cast<std::size_t>(ofChannel))
                         : settings_.queueEventsMax;
}

AdminLimits ChannelCore::limits() const {
    const std::lock_guard guard(mutex_);
    return limits_;
}

void ChannelCore::changeLimits(const CosNotification::AdminProperties& wanted) {
    {
        const std::lock_guard guard(mutex_);
        limits_ = changedLimits(limits_, wanted);
    }
    for (const std::shared_ptr<Outlet>& each : outlets())
        each->qos.reapply([&](const Qos& qos) { each->applyQos(qos); });
}

AddressPlaces::Place ChannelCore::takeConsumerPlace() {
    AddressPlaces::Place place = placeIn(consumerPlaces_, CosNotification::MaxConsumers);
    const std::lock_guard guard(mutex_);
    if (limits_.maxConsumers > 0 && consumers_ >= limits_.maxConsumers)
        throw exceeded(CosNotification::MaxConsumers, limits_.maxConsumers);
    ++consumers_;
    return place;
}

void ChannelCore::giveConsumerPlace() {
    const std::lock_guard guard(mutex_);
    --consumers_;
}

AddressPlaces::Place ChannelCore::takeSupplierPlace() {
    AddressPlaces::Place place = placeIn(supplierPlaces_, CosNotification::MaxSuppliers);
    const std::lock_guard guard(mutex_);
    if (limits_.maxSuppliers > 0 && suppliers_ >= limits_.maxSuppliers)
        throw exceeded(CosNotification::MaxSuppliers, limits_.maxSuppliers);
    ++suppliers_;
    return place;
}

AddressPlaces::Place ChannelCore::takeAdminPlace() {
    return placeIn(adminPlaces_);
}

AddressPlaces::Place ChannelCore::takeFilterPlace() {
    return placeIn(filterPlaces_);
}

void ChannelCore::giveSupplierPlace() {
    const std::lock_guard guard(mutex_);
    --suppliers_;
}

void ChannelCore::stop() {
    std::shared_ptr<const Outlets> outlets;
    {
        const std::lock_guard guard(mutex_);
        stopped_ = true;
        listener_ = nullptr;
        outlets = std::exchange(outlets_, std::make_shared<const Outlets>());
    }
    // closed first: the calls in progress of both then run out together
    notices_.close();
    for (const std::shared_ptr<Outlet>& each : *outlets)
        each->close();
    dispatcher_.stop();
    notices_.stop();
}

}  // namespace kelp::notification
