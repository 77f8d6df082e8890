#pragma once

#include <cos/CosNotifyChannelAdmin.h>

#include <mutex>

#include "delivery/qos.h"
#include "filter/filter_list.h"
#include "owners/owner.h"
#include "types/type_list.h"

namespace kelp::notification {

/// Qualities of service that may change while they are in use. Thread safe.
class SharedQos {
  public:
    SharedQos(const Qos& initial, QosSide side) : side_(side), qos_(initial) {}
    QosSide side() const { return side_; }
    Qos get() const {
        const std::lock_guard guard(mutex_);
        return qos_;
    }
    /// Change the qualities and call `apply` with the new ones. Changes are applied one after the
    /// other, so get() returns what was applied last. Throws what changedQos throws.
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
    /// Call `apply` with the current qualities, not during a change.
    template <class Apply>
    void reapply(Apply apply) {
        const std::lock_guard order(changes_);
        apply(get());
    }

  private:
    const QosSide side_;
    std::mutex changes_;  // locked before any lock of what the qualities are applied to
    mutable std::mutex mutex_;
    Qos qos_;  // guarded by mutex_
};

/// What a consumer admin shares with its proxies.
struct AdminData {
    AdminData(CosNotifyChannelAdmin::AdminID number,
              CosNotifyChannelAdmin::InterFilterGroupOperator filterOperator, const Qos& initial)
        : id(number), op(filterOperator), qos(initial, QosSide::Consumer) {}
    virtual ~AdminData() = default;
    AdminData(const AdminData&) = delete;
    AdminData& operator=(const AdminData&) = delete;

    /// The consumer of this proxy is dead. Called on a delivery thread or by the review.
    virtual void proxyDied(CosNotifyChannelAdmin::ProxyID proxy) = 0;

    const CosNotifyChannelAdmin::AdminID id;
    const CosNotifyChannelAdmin::InterFilterGroupOperator op;
    OwnerPtr owner{};  ///< set once, before the first proxy
    SharedQos qos;
    FilterList filters;
    TypeList types;
};

}  // namespace kelp::notification
