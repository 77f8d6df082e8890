#pragma once

#include <atomic>
#include <memory>

#include "channel/core.h"
#include "channel/peers.h"
#include "owners/owned.h"
#include "owners/owner.h"
#include "proxy_registry.h"
#include "types/updates.h"

namespace kelp::notification {

class ConsumerPart;

/// A supplier admin's share in its proxies.
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

/// What the proxy consumers of every kind have in common: events that suppliers outside this
/// process push.
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
    /// Whose the proxy is, and its place, which it keeps until close(). Before anybody else knows
    /// the proxy.
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
    /// Connects a supplier, which may be nil; throws AlreadyConnected, and OBJECT_NOT_EXIST when
    /// the proxy has ended.
    void connect(CORBA::Object_ptr supplier, Farewell farewell);
    /// What events that come through the proxy have when they bring nothing of their own.
    EventDefaults eventDefaults() const { return eventDefaultsOf(qos.get()); }
    /// Takes an event in; throws Disconnected while nobody is connected.
    void take(const EventPtr& event);
    enum class Supplier { IsTold, IsNotTold };
    /// Ends the proxy for good, once; the supplier hears of it soon when wanted.
    void close(Supplier supplier);

    // -- Owned; dropping it is traced
    Kind ownedKind() const override { return Kind::Proxy; }
    bool drop() override;

    SharedQos qos;
    FilterList filters;

  protected:
    virtual PortableServer::Servant servant() = 0;

  private:
    bool passes(const CosNotification::StructuredEvent& event) const;

    const std::shared_ptr<ChannelCore> core_;
    const std::shared_ptr<SupplierAdminData> admin_;
    const CosNotifyChannelAdmin::ProxyType type_;
    const CosNotifyChannelAdmin::ProxyID id_;
    const Offers::OffererId offerer_;
    OwnerPtr owner_;
    KeyedPlaces::Place place_;
    Updates updates_;
    std::mutex farewellMutex_;
    Farewell farewell_;  // guarded by farewellMutex_
    std::atomic<bool> connected_{false};
    std::atomic<bool> closed_{false};
};

}  // namespace kelp::notification
