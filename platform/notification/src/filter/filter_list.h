#pragma once

#include <cos/CosNotifyChannelAdmin.h>
#include <cos/CosNotifyFilter.h>
#include <kelp/orb/event_view.h>
#include <kelp/util/mutex.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "filter/event_test.h"

namespace kelp::notification {

/// The filters of an admin or a proxy. An event passes if one of them matches, or if there are
/// none. Thread safe. No lock is held while a filter evaluates an event.
class FilterList {
  private:
    struct Entry {
        CosNotifyFilter::Filter_var reference;
        PortableServer::ServantBase_var keeper;
        const EventTest* test = nullptr;  ///< owned by the keeper
        std::shared_ptr<const void> use;
    };
    using Filters = std::map<CosNotifyFilter::FilterID, Entry>;

  public:
    /// The filters at one moment.
    using Snapshot = std::shared_ptr<const Filters>;
    enum class Verdict { NoFilter, Passes, Fails };

    /// Add a filter. `servant` is the filter's servant, which evaluates events; null for a filter
    /// that was destroyed. Throws BAD_PARAM if the filter is nil or the servant is not a filter,
    /// and NO_RESOURCES if there are too many filters.
    CosNotifyFilter::FilterID add(CosNotifyFilter::Filter_ptr filter,
                                  PortableServer::Servant servant) KELP_EXCLUDES(mutex_);
    /// remove() and get() throw FilterNotFound.
    void remove(CosNotifyFilter::FilterID id) KELP_EXCLUDES(mutex_);
    CosNotifyFilter::Filter_ptr get(CosNotifyFilter::FilterID id) const;
    CosNotifyFilter::FilterIDSeq* ids() const;
    void clear() KELP_EXCLUDES(mutex_);

    Snapshot current() const KELP_EXCLUDES(mutex_);
    /// The constraints of all filters as text.
    std::vector<std::string> texts() const;
    /// Evaluate the filters. One that was destroyed does not match, because it has no constraints.
    /// One that fails, or exceeds the budget, does not match either.
    static Verdict judge(const Snapshot& filters, const kelp::orb::EventView& event,
                         Budget& budget);

  private:
    mutable util::Mutex mutex_{util::LockRank::ChannelPart, "FilterList::mutex_"};
    Snapshot filters_ KELP_GUARDED_BY(mutex_) = std::make_shared<const Filters>();
    CosNotifyFilter::FilterID lastId_ KELP_GUARDED_BY(mutex_) = 0;
};

/// True if the event passes the filters of an admin and of one of its proxies: both groups or one
/// of them, as `op` says. If one group is empty, the other decides.
bool judgedByGroups(CosNotifyChannelAdmin::InterFilterGroupOperator op,
                    const FilterList::Snapshot& ofAdmin, const FilterList::Snapshot& ofProxy,
                    const kelp::orb::EventView& event, Budget& budget);

}  // namespace kelp::notification
