#pragma once

#include <kelp/util/mutex.h>

#include <atomic>
#include <memory>

#include "channel/channel_core.h"
#include "channel/peers.h"
#include "event_types/updates.h"
#include "owners/owned.h"
#include "owners/owner.h"
#include "proxy_registry.h"

namespace kelp::notification {

class SupplierPart;

/// What a consumer admin shares with its proxies.
struct ConsumerAdminData final : AdminData {
    using AdminData::AdminData;
    ProxyRegistry<SupplierPart> proxies;
    CosNotifyChannelAdmin::ConsumerAdmin_var reference;  ///< set once, before the first proxy

    void proxyDied(CosNotifyChannelAdmin::ProxyID proxy) override;
};

/// What the proxy suppliers of all kinds have in common. A proxy supplier serves one consumer.
class SupplierPart : public Owned {
  public:
    SupplierPart(std::shared_ptr<ChannelCore> core, std::shared_ptr<ConsumerAdminData> admin,
                 CosNotifyChannelAdmin::ProxyType type);
    SupplierPart(const SupplierPart&) = delete;
    SupplierPart& operator=(const SupplierPart&) = delete;

    CosNotifyChannelAdmin::ProxyType type() const { return type_; }
    CosNotifyChannelAdmin::ProxyID id() const { return path_->proxy(); }
    bool pushes() const;
    const std::shared_ptr<ConsumerPath>& path() const { return path_; }
    ConsumerAdminData& admin() const { return *admin_; }
    ChannelCore& core() const { return *core_; }
    const OwnerPtr& owner() const { return owner_; }
    /// Set the proxy's owner and its place, which it keeps until close(). To be called before any
    /// other thread knows the proxy.
    void hold(OwnerPtr owner, KeyedPlaces::Place place) {
        path_->setOwner(owner);
        owner_ = std::move(owner);
        place_ = std::move(place);
    }
    const kelp::orb::EventSender& sender() const { return *core_->settings().sender; }

    CosNotification::EventTypeSeq* offeredTypes(CosNotifyChannelAdmin::ObtainInfoMode mode) {
        return updates_.obtain(mode);
    }
    void subscribe(const CosNotification::EventTypeSeq& added,
                   const CosNotification::EventTypeSeq& removed);
    void suspend();
    void resume();
    /// Connect a consumer that is pushed to. Throws AlreadyConnected, and OBJECT_NOT_EXIST if the
    /// proxy has ended.
    void connect(std::shared_ptr<ConnectedConsumer> connected, CORBA::Object_ptr consumer);
    /// Connect a consumer that pulls, which may be nil. Throws like connect().
    void connectPull(CORBA::Object_ptr consumer, Farewell farewell);
    std::vector<EventPtr> pull(CORBA::Long most, bool wait);

    enum class Consumer { IsTold, IsNotTold };
    /// End the proxy for good, once. With IsTold the consumer is disconnected soon after.
    void close(Consumer consumer);
    // -- Owned; drop() writes a trace
    Kind ownedKind() const override { return Kind::Proxy; }
    bool drop() override;

  protected:
    /// The servant that this object is a part of.
    virtual PortableServer::Servant servant() = 0;

  private:
    [[noreturn]] void refuseConnection() const;
    void tellOfOffers(CORBA::Object_ptr consumer);

    const std::shared_ptr<ChannelCore> core_;
    const std::shared_ptr<ConsumerAdminData> admin_;
    const CosNotifyChannelAdmin::ProxyType type_;
    const std::shared_ptr<ConsumerPath> path_;
    OwnerPtr owner_;
    KeyedPlaces::Place place_;
    Updates updates_;
    util::Mutex farewellMutex_{util::LockRank::Leaf, "SupplierPart::farewellMutex_"};
    Farewell farewell_ KELP_GUARDED_BY(farewellMutex_);  ///< of a consumer that pulls
    std::atomic<bool> closed_{false};
};

}  // namespace kelp::notification
