#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <memory>
#include <span>

#include "channel/channel_core.h"
#include "channel/peers.h"
#include "event_types/updates.h"
#include "owners/owned.h"
#include "owners/owner.h"
#include "proxy_registry.h"

namespace kelp::notification {

class ConsumerPart;

/// What a supplier admin shares with its proxies.
struct SupplierAdminData {
    SupplierAdminData(CosNotifyChannelAdmin::AdminID number,
                      CosNotifyChannelAdmin::InterFilterGroupOperator filterOperator,
                      const Qos& initial)
        : id(number), op(filterOperator), qos(initial, QosSide::Supplier) {}

    const CosNotifyChannelAdmin::AdminID id;
    const CosNotifyChannelAdmin::InterFilterGroupOperator op;
    OwnerPtr owner{};  ///< set once, before the first proxy
    SharedQos qos;
    FilterList filters;
    ProxyRegistry<ConsumerPart> proxies;
    CosNotifyChannelAdmin::SupplierAdmin_var reference;  ///< set once, before the first proxy
};

/// What the proxy consumers of all kinds have in common. A proxy consumer accepts the events of one
/// supplier outside this process.
class ConsumerPart : public Owned {
  public:
    ConsumerPart(std::shared_ptr<ChannelCore> core, std::shared_ptr<SupplierAdminData> admin,
                 CosNotifyChannelAdmin::ProxyType type);
    ~ConsumerPart() override;
    ConsumerPart(const ConsumerPart&) = delete;
    ConsumerPart& operator=(const ConsumerPart&) = delete;

    CosNotifyChannelAdmin::ProxyType type() const { return type_; }
    CosNotifyChannelAdmin::ProxyID id() const { return id_; }
    SupplierAdminData& admin() const { return *admin_; }
    ChannelCore& core() const { return *core_; }
    const OwnerPtr& owner() const { return owner_; }
    /// Set the proxy's owner and its place, which it keeps until close(). To be called before any
    /// other thread knows the proxy.
    void hold(OwnerPtr owner, KeyedPlaces::Place place) {
        owner_ = std::move(owner);
        place_ = std::move(place);
    }

    CosNotification::EventTypeSeq* subscribedTypes(CosNotifyChannelAdmin::ObtainInfoMode mode) {
        return updates_.obtain(mode);
    }
    void offer(const CosNotification::EventTypeSeq& added,
               const CosNotification::EventTypeSeq& removed) {
        core_->offers().change(offerer_, added, removed);
    }
    /// Connect a supplier, which may be nil. Throws AlreadyConnected, and OBJECT_NOT_EXIST if the
    /// proxy has ended.
    void connect(CORBA::Object_ptr supplier, Farewell farewell);
    /// Qualities for events that come through the proxy and bring none.
    EventDefaults eventDefaults() const { return eventDefaultsOf(qos.get()); }
    /// Accept an event and distribute it if it passes the filters. Throws Disconnected if no
    /// supplier is connected.
    void accept(const EventPtr& event);
    /// The same for events that are not made yet, in order.
    void acceptAll(std::span<kelp::orb::EncodedEvent> events);
    enum class Supplier { IsTold, IsNotTold };
    /// End the proxy for good, once. With IsTold the supplier is disconnected soon after.
    void close(Supplier supplier);

    // -- Owned; drop() writes a trace
    Kind ownedKind() const override { return Kind::Proxy; }
    bool drop() override;

    SharedQos qos;
    FilterList filters;

  protected:
    virtual PortableServer::Servant servant() = 0;

  private:
    bool passes(const kelp::orb::EventView& event) const;

    const std::shared_ptr<ChannelCore> core_;
    const std::shared_ptr<SupplierAdminData> admin_;
    const CosNotifyChannelAdmin::ProxyType type_;
    const CosNotifyChannelAdmin::ProxyID id_;
    const Offers::OffererId offerer_;
    OwnerPtr owner_;
    KeyedPlaces::Place place_;
    Updates updates_;
    util::Mutex farewellMutex_{util::LockRank::Leaf, "ConsumerPart::farewellMutex_"};
    Farewell farewell_ KELP_GUARDED_BY(farewellMutex_);
    std::atomic<bool> connected_{false};
    std::atomic<bool> closed_{false};
};

}  // namespace kelp::notification
