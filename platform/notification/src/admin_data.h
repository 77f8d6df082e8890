#pragma once

#include <cos/CosNotifyChannelAdmin.h>

#include <mutex>

#include "filter_list.h"
#include "qos.h"
#include "type_list.h"

namespace kelp::notification {

/// Qualities of service that may be changed while they are used. Thread safe.
class SharedQos {
  public:
    explicit SharedQos(const Qos& initial) : qos_(initial) {}
    Qos get() const {
        const std::lock_guard guard(mutex_);
        return qos_;
    }
    /// The new ones; throws what changedQos throws.
    Qos change(const CosNotification::QoSProperties& wanted) {
        const std::lock_guard guard(mutex_);
        return qos_ = changedQos(qos_, wanted);
    }

  private:
    mutable std::mutex mutex_;
    Qos qos_;  // guarded by mutex_
};

/// What a consumer admin has in common with its proxies.
struct AdminData {
    AdminData(CosNotifyChannelAdmin::AdminID number,
              CosNotifyChannelAdmin::InterFilterGroupOperator filterOperator, const Qos& initial)
        : id(number), op(filterOperator), qos(initial) {}
    virtual ~AdminData() = default;
    AdminData(const AdminData&) = delete;
    AdminData& operator=(const AdminData&) = delete;

    /// The consumer of this proxy is dead; on a delivery thread.
    virtual void proxyDied(CosNotifyChannelAdmin::ProxyID proxy) = 0;

    const CosNotifyChannelAdmin::AdminID id;
    const CosNotifyChannelAdmin::InterFilterGroupOperator op;
    SharedQos qos;
    FilterList filters;
    TypeList types;
};

}  // namespace kelp::notification
