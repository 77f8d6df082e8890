#pragma once

#include "proxy_supplier.h"

namespace kelp::notification {

class StructuredPushSupplier final
    : public PushSupplierServant<POA_CosNotifyChannelAdmin::StructuredProxyPushSupplier> {
  public:
    using PushSupplierServant::PushSupplierServant;
    void connect_structured_push_consumer(
        CosNotifyComm::StructuredPushConsumer_ptr consumer) override;
    void disconnect_structured_push_supplier() override { close(Consumer::IsNotTold); }
};

class SequencePushSupplier final
    : public PushSupplierServant<POA_CosNotifyChannelAdmin::SequenceProxyPushSupplier> {
  public:
    using PushSupplierServant::PushSupplierServant;
    void connect_sequence_push_consumer(CosNotifyComm::SequencePushConsumer_ptr consumer) override;
    void disconnect_sequence_push_supplier() override { close(Consumer::IsNotTold); }
};

class AnyPushSupplier final
    : public PushSupplierServant<POA_CosNotifyChannelAdmin::ProxyPushSupplier> {
  public:
    using PushSupplierServant::PushSupplierServant;
    void connect_any_push_consumer(CosEventComm::PushConsumer_ptr consumer) override;
    void disconnect_push_supplier() override { close(Consumer::IsNotTold); }
};

}  // namespace kelp::notification
