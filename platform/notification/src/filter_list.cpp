#include "filter_list.h"

#include <kelp/orb/exception_text.h>
#include <kelp/util/trace_log.h>

namespace kelp::notification {

namespace {
/// An NMS that adds more is not one that selects events.
constexpr std::size_t kFiltersMax = 100;
}  // namespace

std::shared_ptr<const FilterList::Filters> FilterList::current() const {
    const std::lock_guard guard(mutex_);
    return filters_;
}

CosNotifyFilter::FilterID FilterList::add(CosNotifyFilter::Filter_ptr filter,
                                          PortableServer::Servant servant) {
    Entry entry;
    entry.reference = CosNotifyFilter::Filter::_duplicate(filter);
    entry.servant = dynamic_cast<POA_CosNotifyFilter::Filter*>(servant);
    if (CORBA::is_nil(filter) || (servant != nullptr && entry.servant == nullptr))
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    if (servant != nullptr) {
        servant->_add_ref();
        entry.keeper = servant;
    }
    const std::lock_guard guard(mutex_);
    if (filters_->size() >= kFiltersMax)
        throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
    const auto changed = std::make_shared<Filters>(*filters_);
    (*changed)[++lastId_] = entry;
    filters_ = changed;
    return lastId_;
}

void FilterList::remove(CosNotifyFilter::FilterID id) {
    const std::lock_guard guard(mutex_);
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
    const std::lock_guard guard(mutex_);
    filters_ = std::make_shared<const Filters>();
}

FilterList::Verdict FilterList::judge(const CosNotification::StructuredEvent& event) const {
    const auto filters = current();
    if (filters->empty())
        return Verdict::NoFilter;
    for (const auto& [id, filter] : *filters) {
        try {
            if (filter.servant != nullptr && filter.servant->match_structured(event))
                return Verdict::Passes;
        } catch (const CosNotifyFilter::UnsupportedFilterableData&) {
            // it has no such data: no match
        } catch (const CORBA::Exception& failure) {
            kelp::util::traceFrom("filterlist",
                                  "a filter cannot be asked: " + kelp::orb::exceptionText(failure),
                                  kelp::util::TraceKind::Exception);
        }
    }
    return Verdict::Fails;
}

bool judgedByGroups(CosNotifyChannelAdmin::InterFilterGroupOperator op, const FilterList& ofAdmin,
                    const FilterList& ofProxy, const CosNotification::StructuredEvent& event) {
    using Verdict = FilterList::Verdict;
    const bool isAnd = op == CosNotifyChannelAdmin::AND_OP;
    const Verdict first = ofAdmin.judge(event);
    if (first == Verdict::Fails && isAnd)
        return false;
    if (first == Verdict::Passes && !isAnd)
        return true;
    const Verdict second = ofProxy.judge(event);
    if (second == Verdict::NoFilter)
        return first != Verdict::Fails;
    return second == Verdict::Passes;
}

}  // namespace kelp::notification
