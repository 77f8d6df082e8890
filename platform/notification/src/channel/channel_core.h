#pragma once

#include <kelp/notification/channel.h>
#include <kelp/util/mutex.h>

#include <memory>
#include <vector>

#include "channel/ended_consumers.h"
#include "channel/farewells.h"
#include "delivery/consumer_path.h"
#include "delivery/delivery_threads.h"
#include "delivery/qos.h"
#include "event_types/change_notices.h"
#include "event_types/offers.h"
#include "filter/filter_stage.h"
#include "owners/address_places.h"
#include "owners/guarded_objects.h"

namespace kelp::notification {

/// The id of the admins that the channel creates itself.
inline constexpr CosNotifyChannelAdmin::AdminID kDefaultAdmin = 0;

/// What the channel's objects share: the paths to consumers, the delivery threads, the object
/// adapter and the limits. Lives until the last servant that refers to it is deleted. Any thread
/// may call it.
class ChannelCore {
  public:
    ChannelCore(PortableServer::POA_ptr poa, const ChannelSettings& settings,
                LossListener* listener);

    DeliveryThreads& deliveryThreads() { return deliveryThreads_; }
    const ChannelSettings& settings() const { return settings_; }

    // -- objects
    /// Activate a servant, hand it over to the adapter and return its reference.
    CORBA::Object_ptr activate(PortableServer::Servant servant, const ObjectRights& rights);
    /// Deactivate the servant's object. Does nothing if it is not active.
    void deactivate(PortableServer::Servant servant);

    /// Deactivate all objects for good. Until then the objects and this core refer to each other.
    void forgetObjects() { objects_->close(); }

    /// Throws NO_PERMISSION if the channel may not call this reference, which the current request
    /// brings. A nil reference is accepted.
    void requireCallable(CORBA::Object_ptr reference) const {
        objects_->requireCallable(reference);
    }

    /// Throws NO_PERMISSION if the current request comes from an address that may not supply.
    void requireSupplier() const { objects_->requireSupplier(); }

    /// The servant of a filter of this channel, with a reference that the caller owns. Null if the
    /// filter was destroyed. Throws BAD_PARAM for nil, NO_PERMISSION for a filter of another owner,
    /// and NO_IMPLEMENT for a filter of another process: calling it would let one consumer's filter
    /// delay the events of all.
    PortableServer::Servant requireOwn(CosNotifyFilter::Filter_ptr filter) const;

    // -- owners
    /// The owner of an object that the current request makes with the help of an object of
    /// `parent`. Null inside the process.
    OwnerPtr ownerOfCaller(const OwnerPtr& parent = nullptr);
    Caller caller() const { return objects_->owners().caller(); }
    std::vector<OwnerPtr> owners() { return objects_->owners().all(); }
    std::vector<PortableServer::ServantBase_var> objectsOf(const OwnerPtr& owner) const {
        return objects_->of(owner);
    }
    /// Disconnects peers whose proxy has ended.
    Farewells& farewells() { return farewells_; }
    FilterStage& filterStage() { return filterStage_; }
    EndedConsumers& endedConsumers() { return endedConsumers_; }

    // -- events
    /// Let every consumer's path screen an event, one event after the other.
    void distribute(const EventPtr& event) KELP_EXCLUDES(intake_);
    void tellLost(const Event& first) KELP_EXCLUDES(mutex_);
    void addConsumerPath(const std::shared_ptr<ConsumerPath>& path) KELP_EXCLUDES(mutex_);
    /// Remove a closed one. If memory is short it stays in the list until the next change, but
    /// gets no events.
    void removeConsumerPath(const ConsumerPath* path) noexcept KELP_EXCLUDES(mutex_);
    /// To be called a few times a second. See Subscription::tend().
    void tend(std::chrono::steady_clock::time_point now) KELP_EXCLUDES(mutex_);
    /// Those that are not closed.
    std::vector<std::shared_ptr<ConsumerPath>> consumerPaths() const KELP_EXCLUDES(mutex_);
    /// Maximum number of events in a queue, unless its consumer sets a smaller one.
    std::size_t queueLimit() const KELP_EXCLUDES(mutex_);

    // -- limits
    AdminLimits limits() const KELP_EXCLUDES(mutex_);
    void changeLimits(const CosNotification::AdminProperties& wanted) KELP_EXCLUDES(mutex_);
    /// Take a place for one more consumer or supplier of this owner and of the current request's
    /// peer. To be kept until the proxy ends. Throws AdminLimitExceeded.
    KeyedPlaces::Place takeConsumerPlace(const OwnerPtr& owner) KELP_EXCLUDES(mutex_);
    void giveConsumerPlace() KELP_EXCLUDES(mutex_);
    KeyedPlaces::Place takeSupplierPlace() KELP_EXCLUDES(mutex_);
    void giveSupplierPlace() KELP_EXCLUDES(mutex_);
    /// The same for an admin, a filter or a constraint. Throws NO_RESOURCES.
    KeyedPlaces::Place takeAdminPlace(const OwnerPtr& owner);
    KeyedPlaces::Place takeFilterPlace(const OwnerPtr& owner);
    KeyedPlaces::Place takeConstraintPlace(const OwnerPtr& owner);

    // -- types of events
    ChangeNotices& notices() { return notices_; }
    /// What the suppliers offer. Publishes it in offered().
    Offers& offers() { return offers_; }
    const std::shared_ptr<FollowedTypes>& offered() const { return offered_; }
    /// What the consumers subscribe to, connected or not. Empty if there are none.
    const std::shared_ptr<FollowedTypes>& subscribed() const { return subscribed_; }
    /// To be called after the types of a proxy or an admin have changed.
    void subscriptionsChanged() KELP_EXCLUDES(subscriptions_);

    /// From here on no event is accepted or delivered and no change is reported. Blocked pulls end.
    void stop() KELP_EXCLUDES(mutex_);

  private:
    using ConsumerPaths = std::vector<std::shared_ptr<ConsumerPath>>;

    ChannelCore(PortableServer::POA_ptr poa, const ChannelSettings& settings,
                LossListener* listener, GuardedObjects* objects);

    PortableServer::POA_var poa_;
    const PortableServer::ServantLocator_var locator_;  // owns objects_
    GuardedObjects* const objects_;
    const ChannelSettings settings_;
    DeliveryThreads deliveryThreads_;
    ChangeNotices notices_;
    FilterStage filterStage_;
    EndedConsumers endedConsumers_;
    Farewells farewells_;
    const std::shared_ptr<FollowedTypes> offered_;
    const std::shared_ptr<FollowedTypes> subscribed_;
    Offers offers_;
    AddressPlaces consumerPlaces_;  // the places have their own locks
    AddressPlaces supplierPlaces_;
    AddressPlaces adminPlaces_;
    AddressPlaces filterPlaces_;
    KeyedPlaces consumersOfOwner_;
    KeyedPlaces adminsOfOwner_;
    KeyedPlaces filtersOfOwner_;
    KeyedPlaces constraintsOfOwner_;

    /// Held while an event is distributed, so that every consumer gets the events in the same
    /// order.
    util::Mutex intake_{util::LockRank::ChannelIntake, "ChannelCore::intake_"};
    /// Held while all subscriptions are united and published.
    util::Mutex subscriptions_{util::LockRank::ChannelChange, "ChannelCore::subscriptions_"};
    mutable util::Mutex mutex_{util::LockRank::Channel, "ChannelCore::mutex_"};
    LossListener* listener_ KELP_GUARDED_BY(mutex_);
    std::shared_ptr<const ConsumerPaths> consumerPaths_ KELP_GUARDED_BY(mutex_) =
        std::make_shared<const ConsumerPaths>();
    AdminLimits limits_ KELP_GUARDED_BY(mutex_);
    std::int32_t consumers_ KELP_GUARDED_BY(mutex_) = 0;
    std::int32_t suppliers_ KELP_GUARDED_BY(mutex_) = 0;
    bool stopped_ KELP_GUARDED_BY(mutex_) = false;
};

}  // namespace kelp::notification
