#include "filter/filter_list.h"

#include <kelp/orb/exception_text.h>
#include <kelp/util/trace_log.h>

namespace kelp::notification {

namespace {
/// An NMS that adds more filters does not use them to select events.
constexpr std::size_t kFiltersPerObjectMax = 100;
/// Allocated in advance: clear() must not fail for lack of memory.
const FilterList::Snapshot kNoFilters = std::make_shared<FilterList::Snapshot::element_type>();
}  // namespace

std::vector<std::string> FilterList::texts() const {
    std::vector<std::string> all;
    for (const auto& [id, entry] : *current()) {
        // destroyed filters have no constraints and let nothing pass
        std::vector<std::string> texts =
            entry.test == nullptr ? std::vector<std::string>() : entry.test->texts();
        if (texts.empty())
            texts.emplace_back("(no constraint: nothing passes)");
        all.insert(all.end(), texts.begin(), texts.end());
    }
    return all;
}

FilterList::Snapshot FilterList::current() const {
    const util::MutexLock guard(mutex_);
    return filters_;
}

CosNotifyFilter::FilterID FilterList::add(CosNotifyFilter::Filter_ptr filter,
                                          PortableServer::Servant servant) {
    Entry entry;
    entry.reference = CosNotifyFilter::Filter::_duplicate(filter);
    entry.test = dynamic_cast<const EventTest*>(servant);
    if (CORBA::is_nil(filter) || (servant != nullptr && entry.test == nullptr))
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    if (servant != nullptr) {
        servant->_add_ref();
        entry.keeper = servant;
        entry.use = entry.test->use();
    }
    const util::MutexLock guard(mutex_);
    if (filters_->size() >= kFiltersPerObjectMax)
        throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
    const auto changed = std::make_shared<Filters>(*filters_);
    (*changed)[++lastId_] = entry;
    filters_ = changed;
    return lastId_;
}

void FilterList::remove(CosNotifyFilter::FilterID id) {
    const util::MutexLock guard(mutex_);
    const auto changed = std::make_shared<Filters>(*filters_);
    if (changed->erase(id) == 0)
        throw CosNotifyFilter::FilterNotFound();
    filters_ = changed;
}

CosNotifyFilter::Filter_ptr FilterList::get(CosNotifyFilter::FilterID id) const {
    const auto filters = current();
    const auto found = filters->find(id);
    if (found == filters->end())
        throw CosNotifyFilter::FilterNotFound();
    return CosNotifyFilter::Filter::_duplicate(found->second.reference.in());
}

CosNotifyFilter::FilterIDSeq* FilterList::ids() const {
    const auto filters = current();
    CosNotifyFilter::FilterIDSeq_var ids = new CosNotifyFilter::FilterIDSeq;
    ids->length(static_cast<CORBA::ULong>(filters->size()));
    CORBA::ULong i = 0;
    for (const auto& [id, filter] : *filters)
        ids[i++] = id;
    return ids._retn();
}

void FilterList::clear() {
    Snapshot gone = kNoFilters;  // may delete filters, which must not happen under the lock
    const util::MutexLock guard(mutex_);
    filters_.swap(gone);
}

FilterList::Verdict FilterList::judge(const Snapshot& filters, const kelp::orb::EventView& event,
                                      Budget& budget) {
    if (filters->empty())
        return Verdict::NoFilter;
    for (const auto& [id, filter] : *filters) {
        try {
            if (filter.test != nullptr && filter.test->passes(event, budget))
                return Verdict::Passes;
        } catch (const CORBA::Exception& failure) {
            kelp::util::traceFrom("filterlist",
                                  "a filter cannot be asked: " + kelp::orb::exceptionText(failure),
                                  kelp::util::TraceKind::Exception);
        }
    }
    return Verdict::Fails;
}

bool judgedByGroups(CosNotifyChannelAdmin::InterFilterGroupOperator op,
                    const FilterList::Snapshot& ofAdmin, const FilterList::Snapshot& ofProxy,
                    const kelp::orb::EventView& event, Budget& budget) {
    using Verdict = FilterList::Verdict;
    const bool isAnd = op == CosNotifyChannelAdmin::AND_OP;
    const Verdict first = FilterList::judge(ofAdmin, event, budget);
    if (first == Verdict::Fails && isAnd)
        return false;
    if (first == Verdict::Passes && !isAnd)
        return true;
    const Verdict second = FilterList::judge(ofProxy, event, budget);
    if (second == Verdict::NoFilter)
        return first != Verdict::Fails;
    return second == Verdict::Passes;
}

}  // namespace kelp::notification
