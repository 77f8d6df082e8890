#include "supplier_admin.h"

#include "push_consumers.h"

namespace kelp::notification {

using namespace CosNotifyChannelAdmin;

SupplierAdminServant::SupplierAdminServant(std::shared_ptr<ChannelCore> core,
                                           std::shared_ptr<SupplierAdminData> data,
                                           EventChannel_ptr channel, KeyedPlaces::Place place,
                                           OnDestroy onDestroy)
    : core_(std::move(core)),
      data_(std::move(data)),
      channel_(EventChannel::_duplicate(channel)),
      onDestroy_(std::move(onDestroy)),
      place_(std::move(place)),
      offerer_(core_->offers().enter()) {}

void SupplierAdminServant::close(ConsumerPart::Supplier suppliers) {
    if (closed_.exchange(true))
        return;
    data_->proxies.close();
    data_->proxies.withAll([suppliers](ConsumerPart& part) { part.close(suppliers); });
    core_->offers().leave(offerer_);
    place_.reset();
    data_->filters.clear();
    core_->deactivate(this);
}

bool SupplierAdminServant::drop() {
    if (!data_->proxies.empty())
        return false;
    onDestroy_(data_->id);
    close(ConsumerPart::Supplier::IsTold);
    return true;
}

EventChannel_ptr SupplierAdminServant::MyChannel() {
    return EventChannel::_duplicate(channel_.in());
}

ProxyIDSeq* SupplierAdminServant::pull_consumers() {
    return new ProxyIDSeq;
}

ProxyIDSeq* SupplierAdminServant::push_consumers() {
    return data_->proxies.ids([caller = core_->caller()](const ConsumerPart& part) {
        return Owners::isShown(caller, part.owner());
    });
}

ProxyConsumer_ptr SupplierAdminServant::get_proxy_consumer(ProxyID id) {
    const CORBA::Object_var reference =
        data_->proxies.reference(id, [caller = core_->caller()](const ConsumerPart& part) {
            return Owners::isShown(caller, part.owner());
        });
    if (CORBA::is_nil(reference.in()))
        throw ProxyNotFound();
    return ProxyConsumer::_narrow(reference.in());
}

template <class Servant>
CORBA::Object_ptr SupplierAdminServant::make(ProxyType type, ProxyID& id) {
    OwnerPtr owner = core_->ownerOfCaller(data_->owner);
    KeyedPlaces::Place place = core_->takeSupplierPlace();
    Servant* servant = nullptr;
    try {
        servant = new Servant(core_, data_, type);
    } catch (const std::bad_alloc&) {
        core_->giveSupplierPlace();
        throw CORBA::NO_MEMORY(0, CORBA::COMPLETED_NO);
    }
    servant->_add_ref();
    const PortableServer::ServantBase_var keeper = servant;
    servant->hold(owner, std::move(place));
    try {
        CORBA::Object_var reference =
            core_->activate(servant, {.owner = std::move(owner), .isOfSuppliers = true});
        data_->proxies.enter(servant->id(), servant, servant, reference.in());
        id = servant->id();
        return reference._retn();
    } catch (...) {  // whatever was thrown, the caller sees the exception
        servant->close(ConsumerPart::Supplier::IsNotTold);
        throw;
    }
}

ProxyConsumer_ptr SupplierAdminServant::obtain_notification_pull_consumer(ClientType, ProxyID_out) {
    throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
}

ProxyConsumer_ptr SupplierAdminServant::obtain_notification_push_consumer(ClientType type,
                                                                          ProxyID_out id) {
    CORBA::Object_var made;
    switch (type) {
        case ANY_EVENT:
            made = make<AnyPushConsumer>(PUSH_ANY, id);
            break;
        case STRUCTURED_EVENT:
            made = make<StructuredPushConsumer>(PUSH_STRUCTURED, id);
            break;
        case SEQUENCE_EVENT:
            made = make<SequencePushConsumer>(PUSH_SEQUENCE, id);
            break;
        default:
            throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    }
    return ProxyConsumer::_narrow(made.in());
}

void SupplierAdminServant::destroy() {
    if (data_->id == kDefaultAdmin)
        throw CORBA::NO_PERMISSION(0, CORBA::COMPLETED_NO);
    onDestroy_(data_->id);
    close(ConsumerPart::Supplier::IsTold);
}

// The untyped proxies of the Event Service are not offered. The proxies above serve suppliers of
// all kinds of events.
CosEventChannelAdmin::ProxyPushConsumer_ptr SupplierAdminServant::obtain_push_consumer() {
    throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
}

CosEventChannelAdmin::ProxyPullConsumer_ptr SupplierAdminServant::obtain_pull_consumer() {
    throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
}

}  // namespace kelp::notification
