#include "event_channel.h"

namespace kelp::notification {

using namespace CosNotifyChannelAdmin;

namespace {

/// An NMS that creates more admins does not use them to group its consumers.
constexpr std::size_t kAdminsMax = 1000;

/// True for the default admin and for those that the caller may see.
template <class Admin>
bool isShown(const Caller& caller, AdminID id, const Admin& admin) {
    return id == kDefaultAdmin || Owners::isShown(caller, admin.servant->owner());
}

template <class Admins>
AdminIDSeq* idsOf(const Caller& caller, const Admins& admins) {
    AdminIDSeq_var ids = new AdminIDSeq;
    ids->length(static_cast<CORBA::ULong>(admins.size()));
    CORBA::ULong count = 0;
    for (const auto& [id, admin] : admins) {
        if (isShown(caller, id, admin))
            ids[count++] = id;
    }
    ids->length(count);
    return ids._retn();
}

template <class Admins>
const typename Admins::mapped_type& adminOf(const Caller& caller, const Admins& admins,
                                            AdminID id) {
    const auto found = admins.find(id);
    if (found == admins.end() || !isShown(caller, id, found->second))
        throw AdminNotFound();
    return found->second;
}

/// The default admin. If there is none the channel has ended. Raises a system exception then, since
/// an attribute may not raise a user exception.
template <class Admins>
auto defaultOf(const Admins& admins) {
    const auto found = admins.find(kDefaultAdmin);
    if (found == admins.end())
        throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
    return found->second.reference;
}

template <class Admins>
void requireRoom(const Admins& admins) {
    if (admins.size() >= kAdminsMax)
        throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
}

}  // namespace

EventChannelServant::EventChannelServant(std::shared_ptr<ChannelCore> core,
                                         CosNotifyFilter::FilterFactory_ptr filters)
    : core_(std::move(core)), filters_(CosNotifyFilter::FilterFactory::_duplicate(filters)) {}

EventChannel_ptr EventChannelServant::activate() {
    const CORBA::Object_var object = core_->activate(this, {.isCommon = true});
    self_ = CosNotifyChannelAdmin::EventChannel::_narrow(object.in());
    const ConsumerAdmin_var consumers = makeConsumerAdmin(kDefaultAdmin, AND_OP);
    const SupplierAdmin_var suppliers = makeSupplierAdmin(kDefaultAdmin, AND_OP);
    return CosNotifyChannelAdmin::EventChannel::_duplicate(self_.in());
}

void EventChannelServant::close(SupplierPart::Consumer consumers) {
    ConsumerAdmins consumerAdmins;
    SupplierAdmins supplierAdmins;
    {
        const util::MutexLock guard(mutex_);
        consumerAdmins.swap(consumerAdmins_);
        supplierAdmins.swap(supplierAdmins_);
    }
    for (auto& [id, admin] : supplierAdmins)
        admin.servant->close(ConsumerPart::Supplier::IsNotTold);
    for (auto& [id, admin] : consumerAdmins)
        admin.servant->close(consumers);
    core_->deactivate(this);
}

ConsumerAdmin_ptr EventChannelServant::makeConsumerAdmin(AdminID id, InterFilterGroupOperator op) {
    const auto data = std::make_shared<ConsumerAdminData>(id, op, qos_.get());
    if (id != kDefaultAdmin)
        data->owner = core_->ownerOfCaller();
    auto* servant = new ConsumerAdminServant(
        core_, data, self_.in(), core_->takeAdminPlace(data->owner), [this](AdminID gone) {
            const util::MutexLock guard(mutex_);
            consumerAdmins_.erase(gone);
        });
    servant->_add_ref();
    const PortableServer::ServantBase_var keeper = servant;
    const CORBA::Object_var object =
        core_->activate(servant, {.owner = data->owner, .isCommon = id == kDefaultAdmin});
    data->reference = ConsumerAdmin::_narrow(object.in());
    const util::MutexLock guard(mutex_);
    consumerAdmins_[id] = {keeper, servant, data->reference};
    return ConsumerAdmin::_duplicate(data->reference.in());
}

SupplierAdmin_ptr EventChannelServant::makeSupplierAdmin(AdminID id, InterFilterGroupOperator op) {
    const auto data = std::make_shared<SupplierAdminData>(id, op, qos_.get());
    if (id != kDefaultAdmin)
        data->owner = core_->ownerOfCaller();
    auto* servant = new SupplierAdminServant(
        core_, data, self_.in(), core_->takeAdminPlace(data->owner), [this](AdminID gone) {
            const util::MutexLock guard(mutex_);
            supplierAdmins_.erase(gone);
        });
    servant->_add_ref();
    const PortableServer::ServantBase_var keeper = servant;
    const CORBA::Object_var object = core_->activate(
        servant, {.owner = data->owner, .isCommon = id == kDefaultAdmin, .isOfSuppliers = true});
    data->reference = SupplierAdmin::_narrow(object.in());
    const util::MutexLock guard(mutex_);
    supplierAdmins_[id] = {keeper, servant, data->reference};
    return SupplierAdmin::_duplicate(data->reference.in());
}

AdminID EventChannelServant::newId() {
    const util::MutexLock guard(mutex_);
    requireRoom(consumerAdmins_);
    requireRoom(supplierAdmins_);
    return ++lastId_;
}

EventChannelFactory_ptr EventChannelServant::MyFactory() {
    return EventChannelFactory::_nil();
}

ConsumerAdmin_ptr EventChannelServant::default_consumer_admin() {
    const util::MutexLock guard(mutex_);
    return ConsumerAdmin::_duplicate(defaultOf(consumerAdmins_).in());
}

SupplierAdmin_ptr EventChannelServant::default_supplier_admin() {
    const util::MutexLock guard(mutex_);
    return SupplierAdmin::_duplicate(defaultOf(supplierAdmins_).in());
}

CosNotifyFilter::FilterFactory_ptr EventChannelServant::default_filter_factory() {
    return CosNotifyFilter::FilterFactory::_duplicate(filters_.in());
}

ConsumerAdmin_ptr EventChannelServant::new_for_consumers(InterFilterGroupOperator op,
                                                         AdminID_out id) {
    id = newId();
    return makeConsumerAdmin(id, op);
}

SupplierAdmin_ptr EventChannelServant::new_for_suppliers(InterFilterGroupOperator op,
                                                         AdminID_out id) {
    core_->requireSupplier();
    id = newId();
    return makeSupplierAdmin(id, op);
}

ConsumerAdmin_ptr EventChannelServant::get_consumeradmin(AdminID id) {
    const Caller caller = core_->caller();
    const util::MutexLock guard(mutex_);
    return ConsumerAdmin::_duplicate(adminOf(caller, consumerAdmins_, id).reference.in());
}

SupplierAdmin_ptr EventChannelServant::get_supplieradmin(AdminID id) {
    const Caller caller = core_->caller();
    const util::MutexLock guard(mutex_);
    return SupplierAdmin::_duplicate(adminOf(caller, supplierAdmins_, id).reference.in());
}

AdminIDSeq* EventChannelServant::get_all_consumeradmins() {
    const Caller caller = core_->caller();
    const util::MutexLock guard(mutex_);
    return idsOf(caller, consumerAdmins_);
}

AdminIDSeq* EventChannelServant::get_all_supplieradmins() {
    const Caller caller = core_->caller();
    const util::MutexLock guard(mutex_);
    return idsOf(caller, supplierAdmins_);
}

CosEventChannelAdmin::ConsumerAdmin_ptr EventChannelServant::for_consumers() {
    return default_consumer_admin();
}

CosEventChannelAdmin::SupplierAdmin_ptr EventChannelServant::for_suppliers() {
    return default_supplier_admin();
}

void EventChannelServant::destroy() {
    throw CORBA::NO_PERMISSION(0, CORBA::COMPLETED_NO);
}

}  // namespace kelp::notification
