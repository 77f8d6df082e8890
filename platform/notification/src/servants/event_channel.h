#pragma once

#include <kelp/util/mutex.h>

#include <map>

#include "consumer_admin.h"
#include "supplier_admin.h"

namespace kelp::notification {

/// The channel object: its admins, limits and default filter factory. Any thread may call it.
class EventChannelServant final : public POA_CosNotifyChannelAdmin::EventChannel {
  public:
    EventChannelServant(std::shared_ptr<ChannelCore> core,
                        CosNotifyFilter::FilterFactory_ptr filters);

    /// Activate the channel and its default admins. To be called once.
    CosNotifyChannelAdmin::EventChannel_ptr activate();
    void close(SupplierPart::Consumer consumers);

    // -- EventChannel
    CosNotifyChannelAdmin::EventChannelFactory_ptr MyFactory() override;
    CosNotifyChannelAdmin::ConsumerAdmin_ptr default_consumer_admin() override;
    CosNotifyChannelAdmin::SupplierAdmin_ptr default_supplier_admin() override;
    CosNotifyFilter::FilterFactory_ptr default_filter_factory() override;
    CosNotifyChannelAdmin::ConsumerAdmin_ptr new_for_consumers(
        CosNotifyChannelAdmin::InterFilterGroupOperator op,
        CosNotifyChannelAdmin::AdminID_out id) override;
    CosNotifyChannelAdmin::SupplierAdmin_ptr new_for_suppliers(
        CosNotifyChannelAdmin::InterFilterGroupOperator op,
        CosNotifyChannelAdmin::AdminID_out id) override;
    CosNotifyChannelAdmin::ConsumerAdmin_ptr get_consumeradmin(
        CosNotifyChannelAdmin::AdminID id) override;
    CosNotifyChannelAdmin::SupplierAdmin_ptr get_supplieradmin(
        CosNotifyChannelAdmin::AdminID id) override;
    CosNotifyChannelAdmin::AdminIDSeq* get_all_consumeradmins() override;
    CosNotifyChannelAdmin::AdminIDSeq* get_all_supplieradmins() override;

    // -- CosEventChannelAdmin::EventChannel
    CosEventChannelAdmin::ConsumerAdmin_ptr for_consumers() override;
    CosEventChannelAdmin::SupplierAdmin_ptr for_suppliers() override;
    /// Throws NO_PERMISSION: the channel belongs to the EMS.
    void destroy() override;

    // -- QoSAdmin
    CosNotification::QoSProperties* get_qos() override {
        return asProperties(qos_.get(), qos_.side());
    }
    void set_qos(const CosNotification::QoSProperties& wanted) override {
        qos_.change(wanted, [](const Qos&) {});
    }
    void validate_qos(const CosNotification::QoSProperties& wanted,
                      CosNotification::NamedPropertyRangeSeq_out available) override {
        available = availableQos(qos_.get(), wanted, qos_.side());
    }

    // -- AdminPropertiesAdmin
    CosNotification::AdminProperties* get_admin() override { return asProperties(core_->limits()); }
    void set_admin(const CosNotification::AdminProperties& wanted) override {
        core_->changeLimits(wanted);
    }

  private:
    template <class Servant, class Reference>
    struct Admin {
        PortableServer::ServantBase_var keeper;
        Servant* servant = nullptr;
        Reference reference;
    };
    using ConsumerAdmins =
        std::map<CosNotifyChannelAdmin::AdminID,
                 Admin<ConsumerAdminServant, CosNotifyChannelAdmin::ConsumerAdmin_var>>;
    using SupplierAdmins =
        std::map<CosNotifyChannelAdmin::AdminID,
                 Admin<SupplierAdminServant, CosNotifyChannelAdmin::SupplierAdmin_var>>;

    /// Take a place for an admin of the current request's owner, then create and activate the
    /// admin.
    CosNotifyChannelAdmin::ConsumerAdmin_ptr makeConsumerAdmin(
        CosNotifyChannelAdmin::AdminID id, CosNotifyChannelAdmin::InterFilterGroupOperator op);
    CosNotifyChannelAdmin::SupplierAdmin_ptr makeSupplierAdmin(
        CosNotifyChannelAdmin::AdminID id, CosNotifyChannelAdmin::InterFilterGroupOperator op);
    CosNotifyChannelAdmin::AdminID newId() KELP_EXCLUDES(mutex_);

    const std::shared_ptr<ChannelCore> core_;
    const CosNotifyFilter::FilterFactory_var filters_;
    SharedQos qos_{Qos(), QosSide::Channel};
    CosNotifyChannelAdmin::EventChannel_var self_;
    util::Mutex mutex_{util::LockRank::ChannelPart, "EventChannelServant::mutex_"};
    ConsumerAdmins consumerAdmins_ KELP_GUARDED_BY(mutex_);
    SupplierAdmins supplierAdmins_ KELP_GUARDED_BY(mutex_);
    CosNotifyChannelAdmin::AdminID lastId_ KELP_GUARDED_BY(mutex_) = 0;
};

}  // namespace kelp::notification
