#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <cos/CosNotifyFilter.h>

#include <map>
#include <memory>
#include <mutex>

#include "filter/event_test.h"

namespace kelp::notification {

/// The filters of an admin or a proxy. An event passes when one of them matches, or when there is
/// none. Thread safe; no lock is held while a filter is asked.
class FilterList {
  private:
    struct Entry {
        CosNotifyFilter::Filter_var reference;
        PortableServer::ServantBase_var keeper;
        const EventTest* test = nullptr;  ///< lives with the keeper
        std::shared_ptr<const void> use;
    };
    using Filters = std::map<CosNotifyFilter::FilterID, Entry>;

  public:
    /// The filters that there were at one time.
    using Snapshot = std::shared_ptr<const Filters>;
    enum class Verdict { NoFilter, Passes, Fails };

    /// `servant` is the filter's, and is asked itself; null for a filter that was destroyed.
    /// BAD_PARAM for a nil filter or the servant of something else, NO_RESOURCES for one too many.
    CosNotifyFilter::FilterID add(CosNotifyFilter::Filter_ptr filter,
                                  PortableServer::Servant servant);
    /// These two throw FilterNotFound.
    void remove(CosNotifyFilter::FilterID id);
    CosNotifyFilter::Filter_ptr get(CosNotifyFilter::FilterID id) const;
    CosNotifyFilter::FilterIDSeq* ids() const;
    void clear();

    Snapshot current() const;
    /// A filter that was destroyed, and so has no constraints, does not match; nor does one that
    /// fails, or that the budget is not enough for.
    static Verdict judge(const Snapshot& filters, const CosNotification::StructuredEvent& event,
                         Budget& budget);

  private:
    mutable std::mutex mutex_;
    Snapshot filters_ = std::make_shared<const Filters>();  // guarded by mutex_
    CosNotifyFilter::FilterID lastId_ = 0;                  // likewise
};

/// True when the event passes the filters of an admin and of one of its proxies: both groups or one
/// of them, as the admin was made. A group without a filter leaves the choice to the other.
bool judgedByGroups(CosNotifyChannelAdmin::InterFilterGroupOperator op,
                    const FilterList::Snapshot& ofAdmin, const FilterList::Snapshot& ofProxy,
                    const CosNotification::StructuredEvent& event, Budget& budget);

}  // namespace kelp::notification
