#include "supplier_part.h"

namespace kelp::notification {

using namespace CosNotifyChannelAdmin;

void ConsumerAdminData::proxyDied(ProxyID proxy) {
    proxies.with(proxy, [](SupplierPart& part) { part.close(SupplierPart::Consumer::IsNotTold); });
}

SupplierPart::SupplierPart(std::shared_ptr<ChannelCore> core,
                           std::shared_ptr<ConsumerAdminData> admin, ProxyType type)
    : core_(std::move(core)),
      admin_(std::move(admin)),
      type_(type),
      path_(std::make_shared<ConsumerPath>(*core_, admin_, admin_->proxies.newId())),
      updates_(core_->offered()) {}

bool SupplierPart::pushes() const {
    return type_ == PUSH_ANY || type_ == PUSH_STRUCTURED || type_ == PUSH_SEQUENCE;
}

void SupplierPart::subscribe(const CosNotification::EventTypeSeq& added,
                             const CosNotification::EventTypeSeq& removed) {
    path_->types.change(added, removed);
    core_->subscriptionsChanged();
}

void SupplierPart::suspend() {
    switch (path_->suspend()) {
        case Subscription::Change::NotConnected:
            throw NotConnected();
        case Subscription::Change::WasSo:
            throw ConnectionAlreadyInactive();
        case Subscription::Change::Done:
            break;
    }
}

void SupplierPart::resume() {
    switch (path_->resume()) {
        case Subscription::Change::NotConnected:
            throw NotConnected();
        case Subscription::Change::WasSo:
            throw ConnectionAlreadyActive();
        case Subscription::Change::Done:
            break;
    }
}

void SupplierPart::connect(std::shared_ptr<ConnectedConsumer> connected,
                           CORBA::Object_ptr consumer) {
    core_->requireCallable(consumer);
    if (!path_->connect(std::move(connected)))
        refuseConnection();
    tellOfOffers(consumer);
}

void SupplierPart::connectPull(CORBA::Object_ptr consumer, Farewell farewell) {
    core_->requireCallable(consumer);
    if (!path_->connectPull())
        refuseConnection();
    {
        const util::MutexLock guard(farewellMutex_);
        farewell_ = std::move(farewell);
    }
    tellOfOffers(consumer);
}

void SupplierPart::refuseConnection() const {
    if (path_->isClosed())
        throw CORBA::OBJECT_NOT_EXIST(0, CORBA::COMPLETED_NO);
    throw CosEventChannelAdmin::AlreadyConnected();
}

void SupplierPart::tellOfOffers(CORBA::Object_ptr consumer) {
    if (!CORBA::is_nil(consumer))
        updates_.connect(toldOfOffers(
            "consumer " + std::to_string(admin_->id) + "/" + std::to_string(id()), consumer));
}

std::vector<EventPtr> SupplierPart::pull(CORBA::Long most, bool wait) {
    if (most <= 0)
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    return path_->pull(static_cast<std::size_t>(most), wait);
}

bool SupplierPart::drop() {
    close(Consumer::IsTold);
    traceDropped("consumer " + std::to_string(admin_->id) + "/" + std::to_string(id()), owner_);
    return true;
}

void SupplierPart::close(Consumer consumer) {
    if (closed_.exchange(true))
        return;
    // keeps the servant alive when the registry and the adapter release it below
    PortableServer::ServantBase_var self = servant();
    self->_add_ref();
    const std::shared_ptr<ConnectedConsumer> connected = path_->close();
    core_->endedConsumers().add(path_->ownerKey(), path_->counts());
    updates_.close();
    core_->removeConsumerPath(path_.get());
    core_->giveConsumerPlace();
    place_.reset();
    path_->forgetFilters();
    admin_->proxies.forget(id());
    core_->deactivate(servant());
    if (consumer == Consumer::IsNotTold)
        return;
    Farewell farewell;
    if (connected) {
        farewell = [connected] { connected->disconnect(); };
    } else {
        const util::MutexLock guard(farewellMutex_);
        farewell = farewell_;
    }
    core_->farewells().tell(std::move(farewell),
                            "consumer " + std::to_string(admin_->id) + "/" + std::to_string(id()));
}

}  // namespace kelp::notification
