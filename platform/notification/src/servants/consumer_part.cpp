#include "consumer_part.h"

#include <cos/CosEventComm.h>

namespace kelp::notification {

ConsumerPart::ConsumerPart(std::shared_ptr<ChannelCore> core, std::shared_ptr<SupplierAdminData> admin,
                           CosNotifyChannelAdmin::ProxyType type)
    : qos(admin->qos.get()),
      core_(std::move(core)),
      admin_(std::move(admin)),
      type_(type),
      id_(admin_->proxies.newId()) {}

void ConsumerPart::connect() {
    if (connected_.exchange(true))
        throw CosEventChannelAdmin::AlreadyConnected();
}

void ConsumerPart::take(const EventPtr& event) {
    if (!connected_ || closed_)
        throw CosEventComm::Disconnected();
    if (passes(event->body))
        core_->push(event);
}

bool ConsumerPart::passes(const CosNotification::StructuredEvent& event) const {
    return judgedByGroups(admin_->op, admin_->filters, filters, event);
}

void ConsumerPart::close() {
    if (closed_.exchange(true))
        return;
    // the registry's and the adapter's references go below
    PortableServer::ServantBase_var self = servant();
    self->_add_ref();
    core_->giveSupplierPlace();
    admin_->proxies.forget(id_);
    core_->deactivate(servant());
}

}  // namespace kelp::notification
