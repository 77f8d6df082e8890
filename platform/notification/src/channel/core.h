#pragma once

#include <kelp/notification/channel.h>

#include <memory>
#include <mutex>
#include <vector>

#include "channel/farewells.h"
#include "delivery/dispatcher.h"
#include "delivery/outlet.h"
#include "delivery/qos.h"
#include "filter/filter_stage.h"
#include "owners/address_places.h"
#include "owners/guarded_objects.h"
#include "types/change_notices.h"
#include "types/offers.h"

namespace kelp::notification {

/// The number of the admins that the channel makes itself.
inline constexpr CosNotifyChannelAdmin::AdminID kDefaultAdmin = 0;

/// What the channel's objects share: the outlets, the delivery threads, the object adapter, the
/// limits. Lives until the last servant that refers to it has gone.
class ChannelCore {
  public:
    ChannelCore(PortableServer::POA_ptr poa, const ChannelSettings& settings,
                LossListener* listener);

    Dispatcher& dispatcher() { return dispatcher_; }
    const ChannelSettings& settings() const { return settings_; }

    // -- objects
    /// Activates a servant and hands it over to the adapter; its reference.
    CORBA::Object_ptr activate(PortableServer::Servant servant, const ObjectRights& rights);
    /// Takes the servant's object away; harmless when it is away already.
    void deactivate(PortableServer::Servant servant);

    /// Takes all of them away, for good. The objects refer to this core, and it to them, until
    /// then.
    void forgetObjects() { objects_->close(); }

    /// NO_PERMISSION for a reference in the request in hand that the channel may not call. Nil is
    /// fine.
    void requireCallable(CORBA::Object_ptr reference) const {
        objects_->requireCallable(reference);
    }

    /// NO_PERMISSION unless the request in hand comes from an address that may supply.
    void requireSupplier() const { objects_->requireSupplier(); }

    /// The servant of a filter of this channel, with a reference that the caller owns; null when
    /// the filter was destroyed. Throws NO_IMPLEMENT for a filter of another process: asking it
    /// would let one consumer's filter hold up the events of all. BAD_PARAM for nil, NO_PERMISSION
    /// for a filter that is not the caller's.
    PortableServer::Servant requireOwn(CosNotifyFilter::Filter_ptr filter) const;

    // -- owners
    /// The owner of what the request in hand makes with an object of this owner; null inside the
    /// process.
    OwnerPtr ownerOfCaller(const OwnerPtr& parent = nullptr);
    Caller caller() const { return objects_->owners().caller(); }
    std::vector<OwnerPtr> owners() { return objects_->owners().all(); }
    std::vector<PortableServer::ServantBase_var> objectsOf(const OwnerPtr& owner) const {
        return objects_->of(owner);
    }
    /// Tells peers of their end.
    Farewells& farewells() { return farewells_; }
    /// Filters events.
    FilterStage& filterStage() { return filterStage_; }

    // -- events
    void push(const EventPtr& event);
    void tellLost(const Event& first);
    void addOutlet(const std::shared_ptr<Outlet>& outlet);
    /// Takes a closed outlet out. Without memory it stays listed until the next change, and gets
    /// nothing.
    void removeOutlet(const Outlet* outlet) noexcept;
    /// To be called a few times a second; see Subscription::tend().
    void tend(std::chrono::steady_clock::time_point now);
    /// Those that are not closed.
    std::vector<std::shared_ptr<Outlet>> outlets() const;
    /// Most events that a queue may hold unless its consumer wants fewer.
    std::size_t queueLimit() const;

    // -- limits
    AdminLimits limits() const;
    void changeLimits(const CosNotification::AdminProperties& wanted);
    /// A place for one more consumer or supplier of this owner and of the peer of the request in
    /// hand, to be held until the proxy ends; throws AdminLimitExceeded.
    KeyedPlaces::Place takeConsumerPlace(const OwnerPtr& owner);
    void giveConsumerPlace();
    KeyedPlaces::Place takeSupplierPlace();
    void giveSupplierPlace();
    /// The same for an admin, a filter or a constraint; throws NO_RESOURCES.
    KeyedPlaces::Place takeAdminPlace(const OwnerPtr& owner);
    KeyedPlaces::Place takeFilterPlace(const OwnerPtr& owner);
    KeyedPlaces::Place takeConstraintPlace(const OwnerPtr& owner);

    // -- types of events
    ChangeNotices& notices() { return notices_; }
    /// What the suppliers offer, and what of it consumers are told.
    Offers& offers() { return offers_; }
    const std::shared_ptr<TypeFeed>& offered() const { return offered_; }
    /// What the consumers subscribe to, connected yet or not; nothing when there is none.
    const std::shared_ptr<TypeFeed>& subscribed() const { return subscribed_; }
    /// To be called after a change of the types of a proxy or an admin.
    void subscriptionsChanged();

    /// No event is taken in or delivered and no change told from here on; blocked pulls end.
    void stop();

  private:
    using Outlets = std::vector<std::shared_ptr<Outlet>>;

    ChannelCore(PortableServer::POA_ptr poa, const ChannelSettings& settings,
                LossListener* listener, GuardedObjects* objects);

    PortableServer::POA_var poa_;
    const PortableServer::ServantLocator_var locator_;  // keeps objects_
    GuardedObjects* const objects_;
    const ChannelSettings settings_;
    Dispatcher dispatcher_;
    ChangeNotices notices_;
    FilterStage filterStage_;
    Farewells farewells_;
    const std::shared_ptr<TypeFeed> offered_;
    const std::shared_ptr<TypeFeed> subscribed_;
    Offers offers_;
    std::mutex subscriptions_;  // one summing up after the other
    mutable std::mutex mutex_;  // guards what follows
    LossListener* listener_;
    std::shared_ptr<const Outlets> outlets_ = std::make_shared<const Outlets>();
    AdminLimits limits_;
    AddressPlaces consumerPlaces_;  // the places have their own locks
    AddressPlaces supplierPlaces_;
    AddressPlaces adminPlaces_;
    AddressPlaces filterPlaces_;
    KeyedPlaces consumersOfOwner_;
    KeyedPlaces adminsOfOwner_;
    KeyedPlaces filtersOfOwner_;
    KeyedPlaces constraintsOfOwner_;
    std::int32_t consumers_ = 0;
    std::int32_t suppliers_ = 0;
    bool stopped_ = false;
    std::mutex
        intake_;  // one event after the other, so that every consumer gets them in the same order
};

}  // namespace kelp::notification
