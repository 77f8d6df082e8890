#include "consumer_admin.h"

#include "pull_suppliers.h"
#include "push_suppliers.h"

namespace kelp::notification {

using namespace CosNotifyChannelAdmin;

ConsumerAdminServant::ConsumerAdminServant(std::shared_ptr<ChannelCore> core,
                                           std::shared_ptr<ConsumerAdminData> data,
                                           EventChannel_ptr channel, KeyedPlaces::Place place,
                                           OnDestroy onDestroy)
    : core_(std::move(core)),
      data_(std::move(data)),
      channel_(EventChannel::_duplicate(channel)),
      onDestroy_(std::move(onDestroy)),
      place_(std::move(place)) {}

void ConsumerAdminServant::close(SupplierPart::Consumer consumers) {
    if (closed_.exchange(true))
        return;
    data_->proxies.close();
    data_->proxies.withAll([consumers](SupplierPart& part) { part.close(consumers); });
    place_.reset();
    data_->filters.clear();
    core_->deactivate(this);
}

bool ConsumerAdminServant::drop() {
    if (!data_->proxies.empty())
        return false;
    onDestroy_(data_->id);
    close(SupplierPart::Consumer::IsTold);
    return true;
}

EventChannel_ptr ConsumerAdminServant::MyChannel() {
    return EventChannel::_duplicate(channel_.in());
}

ProxyIDSeq* ConsumerAdminServant::pull_suppliers() {
    return data_->proxies.ids([caller = core_->caller()](const SupplierPart& part) {
        return !part.pushes() && Owners::isShown(caller, part.owner());
    });
}

ProxyIDSeq* ConsumerAdminServant::push_suppliers() {
    return data_->proxies.ids([caller = core_->caller()](const SupplierPart& part) {
        return part.pushes() && Owners::isShown(caller, part.owner());
    });
}

ProxySupplier_ptr ConsumerAdminServant::get_proxy_supplier(ProxyID id) {
    const CORBA::Object_var reference =
        data_->proxies.reference(id, [caller = core_->caller()](const SupplierPart& part) {
            return Owners::isShown(caller, part.owner());
        });
    if (CORBA::is_nil(reference.in()))
        throw ProxyNotFound();
    return ProxySupplier::_narrow(reference.in());
}

template <class Servant>
CORBA::Object_ptr ConsumerAdminServant::make(ProxyType type, ProxyID& id) {
    OwnerPtr owner = core_->ownerOfCaller(data_->owner);
    KeyedPlaces::Place place = core_->takeConsumerPlace(owner);
    Servant* servant = nullptr;
    try {
        servant = new Servant(core_, data_, type);
    } catch (...) {  // whatever was thrown, the place is free again
        core_->giveConsumerPlace();
        throw;
    }
    servant->_add_ref();
    const PortableServer::ServantBase_var keeper = servant;
    servant->hold(owner, std::move(place));
    try {
        CORBA::Object_var reference = core_->activate(servant, {.owner = std::move(owner)});
        core_->addConsumerPath(servant->path());
        // last, so that an admin that is being destroyed leaves no part of the proxy behind
        data_->proxies.enter(servant->id(), servant, servant, reference.in());
        id = servant->id();
        return reference._retn();
    } catch (...) {  // whatever was thrown, the caller sees the exception
        servant->close(SupplierPart::Consumer::IsNotTold);
        throw;
    }
}

ProxySupplier_ptr ConsumerAdminServant::obtain_notification_pull_supplier(ClientType type,
                                                                          ProxyID_out id) {
    CORBA::Object_var made;
    switch (type) {
        case ANY_EVENT:
            made = make<AnyPullSupplier>(PULL_ANY, id);
            break;
        case STRUCTURED_EVENT:
            made = make<StructuredPullSupplier>(PULL_STRUCTURED, id);
            break;
        case SEQUENCE_EVENT:
            made = make<SequencePullSupplier>(PULL_SEQUENCE, id);
            break;
        default:
            throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    }
    return ProxySupplier::_narrow(made.in());
}

ProxySupplier_ptr ConsumerAdminServant::obtain_notification_push_supplier(ClientType type,
                                                                          ProxyID_out id) {
    CORBA::Object_var made;
    switch (type) {
        case ANY_EVENT:
            made = make<AnyPushSupplier>(PUSH_ANY, id);
            break;
        case STRUCTURED_EVENT:
            made = make<StructuredPushSupplier>(PUSH_STRUCTURED, id);
            break;
        case SEQUENCE_EVENT:
            made = make<SequencePushSupplier>(PUSH_SEQUENCE, id);
            break;
        default:
            throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    }
    return ProxySupplier::_narrow(made.in());
}

void ConsumerAdminServant::destroy() {
    if (data_->id == kDefaultAdmin)
        throw CORBA::NO_PERMISSION(0, CORBA::COMPLETED_NO);
    onDestroy_(data_->id);
    close(SupplierPart::Consumer::IsTold);
}

// The untyped proxies of the Event Service are not offered. The proxies above serve consumers of
// all kinds of events.
CosEventChannelAdmin::ProxyPushSupplier_ptr ConsumerAdminServant::obtain_push_supplier() {
    throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
}

CosEventChannelAdmin::ProxyPullSupplier_ptr ConsumerAdminServant::obtain_pull_supplier() {
    throw CORBA::NO_IMPLEMENT(0, CORBA::COMPLETED_NO);
}

}  // namespace kelp::notification
