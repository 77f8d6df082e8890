#include "event_channel.h"

namespace kelp::notification {

using namespace CosNotifyChannelAdmin;

namespace {

constexpr AdminID kDefaultAdmin = 0;
/// An NMS that makes more admins is not one that groups its consumers.
constexpr std::size_t kAdminsMax = 1000;

template <class Admins>
AdminIDSeq* idsOf(const Admins& admins) {
    AdminIDSeq_var ids = new AdminIDSeq;
    ids->length(static_cast<CORBA::ULong>(admins.size()));
    CORBA::ULong i = 0;
    for (const auto& [id, admin] : admins)
        ids[i++] = id;
    return ids._retn();
}

template <class Admins>
const typename Admins::mapped_type& adminOf(const Admins& admins, AdminID id) {
    const auto found = admins.find(id);
    if (found == admins.end())
        throw AdminNotFound();
    return found->second;
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
    const CORBA::Object_var object = core_->activate(this);
    self_ = CosNotifyChannelAdmin::EventChannel::_narrow(object.in());
    makeConsumerAdmin(kDefaultAdmin, AND_OP);
    makeSupplierAdmin(kDefaultAdmin, AND_OP);
    return CosNotifyChannelAdmin::EventChannel::_duplicate(self_.in());
}

void EventChannelServant::close(SupplierPart::Consumer consumers) {
    ConsumerAdmins consumerAdmins;
    SupplierAdmins supplierAdmins;
    {
        const std::lock_guard guard(mutex_);
        consumerAdmins.swap(consumerAdmins_);
        supplierAdmins.swap(supplierAdmins_);
    }
    for (auto& [id, admin] : supplierAdmins)
        admin.servant->close(ConsumerPart::Supplier::IsNotTold);
    for (auto& [id, admin] : consumerAdmins)
        admin.servant->close(consumers);
    core_->deactivate(this);
}

void EventChannelServant::dropWhere(const std::function<bool(const Owner&)>& isUnwanted) {
    ConsumerAdmins consumerAdmins;
    SupplierAdmins supplierAdmins;
    {
        const std::lock_guard guard(mutex_);
        consumerAdmins = consumerAdmins_;
        supplierAdmins = supplierAdmins_;
    }
    for (auto& [id, admin] : supplierAdmins)
        admin.servant->dropWhere(isUnwanted);
    for (auto& [id, admin] : consumerAdmins)
        admin.servant->dropWhere(isUnwanted);
}

void EventChannelServant::makeConsumerAdmin(AdminID id, InterFilterGroupOperator op) {
    const auto data = std::make_shared<ConsumerAdminData>(id, op, qos_.get());
    auto* servant =
        new ConsumerAdminServant(core_, data, self_.in(), core_->takeAdminPlace(), [this](AdminID gone) {
            const std::lock_guard guard(mutex_);
            consumerAdmins_.erase(gone);
        });
    servant->_add_ref();
    const PortableServer::ServantBase_var keeper = servant;
    const CORBA::Object_var object = core_->activate(servant);
    data->reference = ConsumerAdmin::_narrow(object.in());
    const std::lock_guard guard(mutex_);
    consumerAdmins_[id] = {keeper, servant, data->reference};
}

void EventChannelServant::makeSupplierAdmin(AdminID id, InterFilterGroupOperator op) {
    const auto data = std::make_shared<SupplierAdminData>(id, op, qos_.get());
    auto* servant =
        new SupplierAdminServant(core_, data, self_.in(), core_->takeAdminPlace(), [this](AdminID gone) {
            const std::lock_guard guard(mutex_);
            supplierAdmins_.erase(gone);
        });
    servant->_add_ref();
    const PortableServer::ServantBase_var keeper = servant;
    const CORBA::Object_var object = core_->activate(servant);
    data->reference = SupplierAdmin::_narrow(object.in());
    const std::lock_guard guard(mutex_);
    supplierAdmins_[id] = {keeper, servant, data->reference};
}

AdminID EventChannelServant::newId() {
    const std::lock_guard guard(mutex_);
    requireRoom(consumerAdmins_);
    requireRoom(supplierAdmins_);
    return ++lastId_;
}

EventChannelFactory_ptr EventChannelServant::MyFactory() {
    return EventChannelFactory::_nil();
}

ConsumerAdmin_ptr EventChannelServant::default_consumer_admin() {
    return get_consumeradmin(kDefaultAdmin);
}

SupplierAdmin_ptr EventChannelServant::default_supplier_admin() {
    return get_supplieradmin(kDefaultAdmin);
}

CosNotifyFilter::FilterFactory_ptr EventChannelServant::default_filter_factory() {
    return CosNotifyFilter::FilterFactory::_duplicate(filters_.in());
}

ConsumerAdmin_ptr EventChannelServant::new_for_consumers(InterFilterGroupOperator op, AdminID_out id) {
    id = newId();
    makeConsumerAdmin(id, op);
    return get_consumeradmin(id);
}

SupplierAdmin_ptr EventChannelServant::new_for_suppliers(InterFilterGroupOperator op, AdminID_out id) {
    id = newId();
    makeSupplierAdmin(id, op);
    return get_supplieradmin(id);
}

ConsumerAdmin_ptr EventChannelServant::get_consumeradmin(AdminID id) {
    const std::lock_guard guard(mutex_);
    return ConsumerAdmin::_duplicate(adminOf(consumerAdmins_, id).reference.in());
}

SupplierAdmin_ptr EventChannelServant::get_supplieradmin(AdminID id) {
    const std::lock_guard guard(mutex_);
    return SupplierAdmin::_duplicate(adminOf(supplierAdmins_, id).reference.in());
}

AdminIDSeq* EventChannelServant::get_all_consumeradmins() {
    const std::lock_guard guard(mutex_);
    return idsOf(consumerAdmins_);
}

AdminIDSeq* EventChannelServant::get_all_supplieradmins() {
    const std::lock_guard guard(mutex_);
    return idsOf(supplierAdmins_);
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
