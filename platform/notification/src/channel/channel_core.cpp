#include "channel/channel_core.h"

#include <kelp/orb/servants.h>

#include <algorithm>
#include <exception>
#include <new>
#include <utility>

namespace kelp::notification {

namespace {

using CosNotifyChannelAdmin::AdminLimitExceeded;
using util::MutexLock;

AdminLimitExceeded exceeded(const char* name, std::int32_t limit) {
    CosNotifyChannelAdmin::AdminLimit told;
    told.name = CORBA::string_dup(name);
    told.value <<= CORBA::Long(limit);
    return AdminLimitExceeded(told);
}

/// A place of the current request's address and one of the owner. Null if either has none left.
KeyedPlaces::Place placeIn(AddressPlaces& ofAddress, KeyedPlaces& ofOwner, const OwnerPtr& owner) {
    using Places = std::pair<KeyedPlaces::Place, KeyedPlaces::Place>;
    Places places(ofAddress.take(kelp::orb::currentPeer()),
                  ofOwner.take(owner ? owner->key() : std::string()));
    if (!places.first || !places.second)
        return nullptr;
    return std::make_shared<const Places>(std::move(places));
}

KeyedPlaces::Place required(KeyedPlaces::Place place) {
    if (!place)
        throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
    return place;
}

}  // namespace

ChannelCore::ChannelCore(PortableServer::POA_ptr poa, const ChannelSettings& settings,
                         LossListener* listener)
    : ChannelCore(poa, settings, listener, new GuardedObjects(settings.guard)) {}

ChannelCore::ChannelCore(PortableServer::POA_ptr poa, const ChannelSettings& settings,
                         LossListener* listener, GuardedObjects* objects)
    : poa_(PortableServer::POA::_duplicate(poa)),
      locator_(objects),
      objects_(objects),
      settings_(settings),
      deliveryThreads_(settings.deliveryThreadsMax, settings.slowThreads),
      notices_(settings.delivery.pushTimeout),
      filterStage_(settings.filterThreads),
      offered_(std::make_shared<FollowedTypes>(notices_, allTypes())),
      subscribed_(std::make_shared<FollowedTypes>(notices_, TypeSet())),
      offers_(offered_),
      consumerPlaces_(settings.perAddress.consumers),
      supplierPlaces_(settings.perAddress.suppliers),
      adminPlaces_(settings.perAddress.admins),
      filterPlaces_(settings.perAddress.filters),
      consumersOfOwner_(settings.perOwner.consumers),
      adminsOfOwner_(settings.perOwner.admins),
      filtersOfOwner_(settings.perOwner.filters),
      constraintsOfOwner_(settings.perOwner.constraints),
      listener_(listener) {
    poa_->set_servant_manager(locator_.in());
}

CORBA::Object_ptr ChannelCore::activate(PortableServer::Servant servant,
                                        const ObjectRights& rights) {
    const PortableServer::ServantBase_var handedOver = servant;
    const PortableServer::ObjectId_var id = objects_->enter(servant, rights);
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
        return objects_->findOwn(id.in());
    } catch (const PortableServer::POA::WrongAdapter&) {
        throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
    }
}

OwnerPtr ChannelCore::ownerOfCaller(const OwnerPtr& parent) {
    Owners& owners = objects_->owners();
    return owners.of(owners.caller(), parent);
}

void ChannelCore::distribute(const EventPtr& event) {
    // hands the consumers over when the intake is free again
    const SendingThreads::HandOver together(deliveryThreads_.sendingThreads());
    const MutexLock order(intake_);
    std::shared_ptr<const ConsumerPaths> paths;
    {
        const MutexLock guard(mutex_);
        paths = consumerPaths_;
    }
    for (const std::shared_ptr<ConsumerPath>& each : *paths)
        each->screen(event);
}

void ChannelCore::tellLost(const Event& first) {
    LossListener* listener = nullptr;
    {
        const MutexLock guard(mutex_);
        listener = listener_;
    }
    if (listener != nullptr)
        listener->eventsLost(first.view());
}

void ChannelCore::addConsumerPath(const std::shared_ptr<ConsumerPath>& path) {
    {
        const MutexLock guard(mutex_);
        if (stopped_)
            throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
        const auto changed = std::make_shared<ConsumerPaths>(*consumerPaths_);
        std::erase_if(*changed, [](const auto& each) { return each->isClosed(); });
        changed->push_back(path);
        consumerPaths_ = changed;
        // under the lock, so that the delivery threads learn the counts in the right order
        deliveryThreads_.serveConsumers(changed->size());
    }
    subscriptionsChanged();
}

void ChannelCore::removeConsumerPath(const ConsumerPath* path) noexcept {
    try {
        {
            const MutexLock guard(mutex_);
            const auto changed = std::make_shared<ConsumerPaths>(*consumerPaths_);
            std::erase_if(*changed, [path](const auto& each) { return each.get() == path; });
            consumerPaths_ = changed;
            deliveryThreads_.serveConsumers(changed->size());
        }
        subscriptionsChanged();
    } catch (const std::exception&) {
        // suppliers learn about it with the next change
    }
}

void ChannelCore::subscriptionsChanged() {
    const MutexLock order(subscriptions_);
    TypeSet together;
    for (const std::shared_ptr<ConsumerPath>& each : consumerPaths())
        unite(together, each->subscribedTypes());
    subscribed_->publish(std::move(together));
}

void ChannelCore::tend(std::chrono::steady_clock::time_point now) {
    std::shared_ptr<const ConsumerPaths> paths;
    {
        const MutexLock guard(mutex_);
        paths = consumerPaths_;
    }
    for (const std::shared_ptr<ConsumerPath>& each : *paths) {
        try {
            each->tend(now);
        } catch (const std::bad_alloc&) {
            // retried by the next call
        }
    }
}

std::vector<std::shared_ptr<ConsumerPath>> ChannelCore::consumerPaths() const {
    ConsumerPaths open;
    {
        const MutexLock guard(mutex_);
        open = *consumerPaths_;
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
    const MutexLock guard(mutex_);
    return limits_;
}

void ChannelCore::changeLimits(const CosNotification::AdminProperties& wanted) {
    {
        const MutexLock guard(mutex_);
        limits_ = changedLimits(limits_, wanted);
    }
    for (const std::shared_ptr<ConsumerPath>& each : consumerPaths())
        each->qos.reapply([&](const Qos& qos) { each->applyQos(qos); });
}

KeyedPlaces::Place ChannelCore::takeConsumerPlace(const OwnerPtr& owner) {
    KeyedPlaces::Place place = placeIn(consumerPlaces_, consumersOfOwner_, owner);
    if (!place)
        throw exceeded(
            CosNotification::MaxConsumers,
            static_cast<std::int32_t>(std::min(consumerPlaces_.max(), consumersOfOwner_.max())));
    const MutexLock guard(mutex_);
    if (limits_.maxConsumers > 0 && consumers_ >= limits_.maxConsumers)
        throw exceeded(CosNotification::MaxConsumers, limits_.maxConsumers);
    ++consumers_;
    return place;
}

void ChannelCore::giveConsumerPlace() {
    const MutexLock guard(mutex_);
    --consumers_;
}

KeyedPlaces::Place ChannelCore::takeSupplierPlace() {
    KeyedPlaces::Place place = supplierPlaces_.take(kelp::orb::currentPeer());
    if (!place)
        throw exceeded(CosNotification::MaxSuppliers,
                       static_cast<std::int32_t>(supplierPlaces_.max()));
    const MutexLock guard(mutex_);
    if (limits_.maxSuppliers > 0 && suppliers_ >= limits_.maxSuppliers)
        throw exceeded(CosNotification::MaxSuppliers, limits_.maxSuppliers);
    ++suppliers_;
    return place;
}

KeyedPlaces::Place ChannelCore::takeAdminPlace(const OwnerPtr& owner) {
    return required(placeIn(adminPlaces_, adminsOfOwner_, owner));
}

KeyedPlaces::Place ChannelCore::takeFilterPlace(const OwnerPtr& owner) {
    return required(placeIn(filterPlaces_, filtersOfOwner_, owner));
}

KeyedPlaces::Place ChannelCore::takeConstraintPlace(const OwnerPtr& owner) {
    return required(constraintsOfOwner_.take(owner ? owner->key() : std::string()));
}

void ChannelCore::giveSupplierPlace() {
    const MutexLock guard(mutex_);
    --suppliers_;
}

void ChannelCore::stop() {
    std::shared_ptr<const ConsumerPaths> paths;
    {
        const MutexLock guard(mutex_);
        stopped_ = true;
        listener_ = nullptr;
        paths = std::exchange(consumerPaths_, std::make_shared<const ConsumerPaths>());
    }
    // closed first, so that the calls in progress of both end at the same time
    notices_.close();
    filterStage_.stop();
    for (const std::shared_ptr<ConsumerPath>& each : *paths)
        each->close();
    deliveryThreads_.stop();
    notices_.stop();
    farewells_.stop();
}

}  // namespace kelp::notification
