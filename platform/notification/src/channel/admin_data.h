#pragma once

#include <cos/CosNotifyChannelAdmin.h>

#include <mutex>

#include "delivery/qos.h"
#include "filter/filter_list.h"
#include "owners/owner.h"
#include "types/type_list.h"

namespace kelp::notification {

/// Qualities of service that may be changed while they are used. Thread safe.
class SharedQos {
  public:
    SharedQos(const Qos& initial, QosSide side) : side_(side), qos_(initial) {}
    QosSide side() const { return side_; }
    Qos get() const {
        const std::lock_guard guard(mutex_);
        return qos_;
    }
    /// Changes them and has the new ones applied, one change after the other, so that what was
    /// applied last is what get() returns. Throws what changedQos throws.
    template <class Apply>
    void change(const CosNotification::QoSProperties& wanted, Apply apply) {
        const std::lock_guard order(changes_);
        const Qos changed = changedQos(get(), wanted, side_);
        {
            const std::lock_guard guard(mutex_);
            qos_ = changed;
        }
        apply(changed);
    }
    /// Has them applied again, between two changes.
    template <class Apply>
    void reapply(Apply apply) {
        const std::lock_guard order(changes_);
        apply(get());
    }

  private:
    const QosSide side_;
    std::mutex changes_;  // taken outside any lock of what they are applied to
    mutable std::mutex mutex_;
    Qos qos_;  // guarded by mutex_
};

/// What a consumer admin has in common with its proxies.
struct AdminData {
    AdminData(CosNotifyChannelAdmin::AdminID number,
              CosNotifyChannelAdmin::InterFilterGroupOperator filterOperator, const Qos& initial)
        : id(number), op(filterOperator), qos(initial, QosSide::Consumer) {}
    virtual ~AdminData() = default;
    AdminData(const AdminData&) = delete;
    AdminData& operator=(const AdminData&) = delete;

    /// The consumer of this proxy is dead; on a delivery thread.
    virtual void proxyDied(CosNotifyChannelAdmin::ProxyID proxy) = 0;

    const CosNotifyChannelAdmin::AdminID id;
    const CosNotifyChannelAdmin::InterFilterGroupOperator op;
    OwnerPtr owner{};  ///< set once, before the first proxy
    SharedQos qos;
    FilterList filters;
    TypeList types;
};

}  // namespace kelp::notification
