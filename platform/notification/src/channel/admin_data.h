#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <kelp/util/mutex.h>

#include "delivery/qos.h"
#include "event_types/type_list.h"
#include "filter/filter_list.h"
#include "owners/owner.h"

namespace kelp::notification {

/// Qualities of service that may change while they are in use. Thread safe.
class SharedQos {
  public:
    SharedQos(const Qos& initial, QosSide side) : side_(side), qos_(initial) {}
    QosSide side() const { return side_; }
    Qos get() const KELP_EXCLUDES(mutex_) {
        const util::MutexLock guard(mutex_);
        return qos_;
    }
    /// Change the qualities and call `apply` with the new ones. Changes are applied one after the
    /// other, so get() returns what was applied last. Throws what changedQos throws.
    template <class Apply>
    void change(const CosNotification::QoSProperties& wanted, Apply apply) KELP_EXCLUDES(changes_) {
        const util::MutexLock order(changes_);
        const Qos changed = changedQos(get(), wanted, side_);
        {
            const util::MutexLock guard(mutex_);
            qos_ = changed;
        }
        apply(changed);
    }
    /// Call `apply` with the current qualities, not during a change.
    template <class Apply>
    void reapply(Apply apply) KELP_EXCLUDES(changes_) {
        const util::MutexLock order(changes_);
        apply(get());
    }

  private:
    const QosSide side_;
    /// Held while a change is applied, so before any lock of what it is applied to.
    util::Mutex changes_{util::LockRank::ChannelChange, "SharedQos::changes_"};
    mutable util::Mutex mutex_{util::LockRank::Leaf, "SharedQos::mutex_"};
    Qos qos_ KELP_GUARDED_BY(mutex_);
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
