#pragma once

#include "channel/peers.h"
#include "proxy_supplier.h"

namespace kelp::notification {

class StructuredPullSupplier final
    : public ProxySupplierServant<POA_CosNotifyChannelAdmin::StructuredProxyPullSupplier> {
  public:
    using ProxySupplierServant::ProxySupplierServant;
    void connect_structured_pull_consumer(
        CosNotifyComm::StructuredPullConsumer_ptr consumer) override {
        connectPull(consumer,
                    farewellTo<CosNotifyComm::StructuredPullConsumer>(
                        consumer, [](auto peer) { peer->disconnect_structured_pull_consumer(); }));
    }
    CosNotification::StructuredEvent* pull_structured_event() override;
    CosNotification::StructuredEvent* try_pull_structured_event(
        CORBA::Boolean_out hasEvent) override;
    void disconnect_structured_pull_supplier() override { close(Consumer::IsNotTold); }
};

class SequencePullSupplier final
    : public ProxySupplierServant<POA_CosNotifyChannelAdmin::SequenceProxyPullSupplier> {
  public:
    using ProxySupplierServant::ProxySupplierServant;
    void connect_sequence_pull_consumer(CosNotifyComm::SequencePullConsumer_ptr consumer) override {
        connectPull(consumer,
                    farewellTo<CosNotifyComm::SequencePullConsumer>(
                        consumer, [](auto peer) { peer->disconnect_sequence_pull_consumer(); }));
    }
    CosNotification::EventBatch* pull_structured_events(CORBA::Long most) override;
    CosNotification::EventBatch* try_pull_structured_events(CORBA::Long most,
                                                            CORBA::Boolean_out hasEvent) override;
    void disconnect_sequence_pull_supplier() override { close(Consumer::IsNotTold); }

  private:
    std::vector<EventPtr> pullBatch(CORBA::Long most, bool wait);
};

class AnyPullSupplier final
    : public ProxySupplierServant<POA_CosNotifyChannelAdmin::ProxyPullSupplier> {
  public:
    using ProxySupplierServant::ProxySupplierServant;
    void connect_any_pull_consumer(CosEventComm::PullConsumer_ptr consumer) override {
        connectPull(consumer, farewellTo<CosEventComm::PullConsumer>(
                                  consumer, [](auto peer) { peer->disconnect_pull_consumer(); }));
    }
    CORBA::Any* pull() override;
    CORBA::Any* try_pull(CORBA::Boolean_out hasEvent) override;
    void disconnect_pull_supplier() override { close(Consumer::IsNotTold); }

  private:
    using SupplierPart::pull;
};

}  // namespace kelp::notification
