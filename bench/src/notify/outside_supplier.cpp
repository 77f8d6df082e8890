#include <cos/CosNotifyComm.h>
#include <kelp/orb/references.h>

#include <stdexcept>

#include "supplier.h"

namespace kelp::bench {

namespace {

class OutsideSupplier final : public Supplier {
  public:
    OutsideSupplier(CORBA::ORB_ptr orb, const Outside& channel) {
        const CORBA::Object_var consumer = kelp::orb::toReference(orb, channel.consumer);
        consumer_ = CosNotifyComm::StructuredPushConsumer::_narrow(consumer.in());
        const CORBA::Object_var gauge = kelp::orb::toReference(orb, channel.gauge);
        gauge_ = CosNotification::QoSAdmin::_narrow(gauge.in());
        if (CORBA::is_nil(consumer_.in()) || CORBA::is_nil(gauge_.in()))
            throw std::runtime_error("not the references of a channel");
    }
    void push(const CosNotification::StructuredEvent& event) override {
        consumer_->push_structured_event(event);
    }
    std::size_t waiting() override {
        CosNotification::QoSProperties_var answer = gauge_->get_qos();
        CORBA::ULong waiting = 0;
        if (answer->length() != 1 || !(answer[0].value >>= waiting))
            throw std::runtime_error("the channel does not say how many events wait");
        return waiting;
    }

  private:
    CosNotifyComm::StructuredPushConsumer_var consumer_;
    CosNotification::QoSAdmin_var gauge_;
};

}  // namespace

std::unique_ptr<Supplier> outsideSupplier(CORBA::ORB_ptr orb, const Outside& channel) {
    return std::make_unique<OutsideSupplier>(orb, channel);
}

}  // namespace kelp::bench
