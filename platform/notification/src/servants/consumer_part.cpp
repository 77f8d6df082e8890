#include "consumer_part.h"

#include <cos/CosEventComm.h>

#include "filter/budget.h"

namespace kelp::notification {

ConsumerPart::ConsumerPart(std::shared_ptr<ChannelCore> core,
                           std::shared_ptr<SupplierAdminData> admin,
                           CosNotifyChannelAdmin::ProxyType type)
    : qos(admin->qos.get(), QosSide::Supplier),
      core_(std::move(core)),
      admin_(std::move(admin)),
      type_(type),
      id_(admin_->proxies.newId()),
      offerer_(core_->offers().enter()),
      updates_(core_->subscribed()) {}

ConsumerPart::~ConsumerPart() {
    core_->offers().leave(offerer_);
}

void ConsumerPart::connect(CORBA::Object_ptr supplier, Farewell farewell) {
    core_->requireCallable(supplier);
    if (closed_)
        throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
    if (connected_.exchange(true))
        throw CosEventChannelAdmin::AlreadyConnected();
    {
        const util::MutexLock guard(farewellMutex_);
        farewell_ = std::move(farewell);
    }
    if (!CORBA::is_nil(supplier))
        updates_.connect(toldOfSubscriptions(
            "supplier " + std::to_string(admin_->id) + "/" + std::to_string(id_), supplier));
}

void ConsumerPart::accept(const EventPtr& event) {
    if (!connected_ || closed_)
        throw CosEventComm::Disconnected();
    if (passes(event->view()))
        core_->distribute(event);
}

void ConsumerPart::acceptAll(std::span<kelp::orb::EncodedEvent> events) {
    const EventDefaults defaults = eventDefaults();
    for (kelp::orb::EncodedEvent& each : events)
        accept(makeEvent(std::move(each), defaults));
}

bool ConsumerPart::passes(const kelp::orb::EventView& event) const {
    Budget budget(core_->settings().perOwner.evaluationCost);
    return judgedByGroups(admin_->op, admin_->filters.current(), filters.current(), event, budget);
}

bool ConsumerPart::drop() {
    close(Supplier::IsTold);
    traceDropped("supplier " + std::to_string(admin_->id) + "/" + std::to_string(id_), owner_);
    return true;
}

void ConsumerPart::close(Supplier supplier) {
    if (closed_.exchange(true))
        return;
    // keeps the servant alive when the registry and the adapter release it below
    PortableServer::ServantBase_var self = servant();
    self->_add_ref();
    updates_.close();
    core_->offers().leave(offerer_);
    core_->giveSupplierPlace();
    place_.reset();
    filters.clear();
    admin_->proxies.forget(id_);
    core_->deactivate(servant());
    if (supplier == Supplier::IsNotTold)
        return;
    Farewell farewell;
    {
        const util::MutexLock guard(farewellMutex_);
        farewell = farewell_;
    }
    core_->farewells().tell(std::move(farewell),
                            "supplier " + std::to_string(admin_->id) + "/" + std::to_string(id_));
}

}  // namespace kelp::notification
