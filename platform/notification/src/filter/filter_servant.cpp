#include "filter_servant.h"

#include <kelp/util/trace_log.h>

#include <cstring>

#include "channel/channel_core.h"
#include "channel/peers.h"
#include "delivery/event.h"
#include "filter_factory.h"

namespace kelp::notification {

using namespace CosNotifyFilter;

namespace {

/// A filter with more constraints does not select events any more.
constexpr std::size_t kConstraintsMax = 200;
/// Callbacks of one filter. More peers have no use for its types.
constexpr std::size_t kCallbacksMax = 20;

bool isOfType(const CosNotification::EventTypeSeq& types, const kelp::orb::EventView& event) {
    if (types.length() == 0)
        return true;
    for (CORBA::ULong i = 0; i < types.length(); ++i) {
        const char* name = types[i].type_name.in();
        const char* domain = types[i].domain_name.in();
        const bool anyName =
            *name == '\0' || matchesPattern(name, "%ALL") || matchesPattern(name, event.typeName());
        const bool anyDomain = *domain == '\0' || matchesPattern(domain, event.domainName());
        if (anyName && anyDomain)
            return true;
    }
    return false;
}

/// The types that a constraint is for, as a set of names. An empty part of a name means any text.
TypeSet typesOf(const CosNotification::EventTypeSeq& types) {
    if (types.length() == 0)
        return allTypes();
    TypeSet names;
    for (CORBA::ULong i = 0; i < types.length(); ++i) {
        CosNotification::EventType type = types[i];
        if (*type.domain_name.in() == '\0')
            type.domain_name = CORBA::string_dup("*");
        if (*type.type_name.in() == '\0')
            type.type_name = CORBA::string_dup("*");
        unite(names, {nameOf(type)});
    }
    return names;
}

/// Size of the constraint's text and of the types that it is for.
std::size_t octetsOf(const ConstraintExp& expression) {
    std::size_t octets = std::strlen(expression.constraint_expr.in());
    for (CORBA::ULong i = 0; i < expression.event_types.length(); ++i) {
        const CosNotification::EventType& type = expression.event_types[i];
        // including the memory of a type without its names
        octets +=
            std::strlen(type.domain_name.in()) + std::strlen(type.type_name.in()) + sizeof type;
    }
    return octets;
}

void requireRoom(std::size_t constraints) {
    if (constraints > kConstraintsMax)
        throw CORBA::NO_RESOURCES(0, CORBA::COMPLETED_NO);
}

ConstraintNotFound notFound(ConstraintID id) {
    return ConstraintNotFound(id);
}

template <class Entries>
ConstraintInfoSeq* listed(const Entries& entries) {
    ConstraintInfoSeq_var infos = new ConstraintInfoSeq;
    infos->length(static_cast<CORBA::ULong>(entries.size()));
    CORBA::ULong i = 0;
    for (const auto& [id, entry] : entries) {
        infos[i].constraint_expression = entry.expression;
        infos[i].constraint_id = id;
        ++i;
    }
    return infos._retn();
}

}  // namespace

FilterServant::FilterServant(std::shared_ptr<ChannelCore> core, OwnerPtr owner,
                             std::function<void()> onDestroy)
    : core_(std::move(core)),
      owner_(std::move(owner)),
      onDestroy_(std::move(onDestroy)),
      types_(std::make_shared<FollowedTypes>(core_->notices(), TypeSet(), kCallbacksMax)) {}

FilterServant::~FilterServant() {
    if (!destroyed_.exchange(true))
        onDestroy_();
}

char* FilterServant::constraint_grammar() {
    return CORBA::string_dup(kExtendedTcl);
}

bool FilterServant::drop() {
    // the first use is this filter's
    if (use_.use_count() > 1)
        return false;
    destroy();
    return true;
}

FilterServant::Entry FilterServant::compiled(const ConstraintExp& expression) const {
    const OwnerLimits& limits = core_->settings().perOwner;
    if (octetsOf(expression) > limits.constraintBytes)
        throw InvalidConstraint(expression);
    try {
        return {expression, std::make_shared<const Constraint>(
                                expression.constraint_expr.in(),
                                ConstraintLimits{limits.constraintBytes, limits.constraintCost})};
    } catch (const ConstraintSyntaxError&) {
        throw InvalidConstraint(expression);
    }
}

std::vector<std::string> FilterServant::texts() const {
    std::vector<std::string> texts;
    for (const auto& [id, entry] : *current()) {
        std::string text = entry.expression.constraint_expr.in();
        const CosNotification::EventTypeSeq& types = entry.expression.event_types;
        for (CORBA::ULong i = 0; i < types.length(); ++i)
            text += (i == 0 ? " [for " : ", ") + std::string(types[i].domain_name.in()) + "/" +
                    types[i].type_name.in();
        texts.push_back(types.length() == 0 ? text : text + "]");
    }
    return texts;
}

std::shared_ptr<const FilterServant::Entries> FilterServant::current() const {
    const util::MutexLock guard(mutex_);
    return entries_;
}

void FilterServant::change(std::shared_ptr<const Entries> entries) {
    entries_ = std::move(entries);
    TypeSet types;
    for (const auto& [id, entry] : *entries_)
        unite(types, typesOf(entry.expression.event_types));
    types_->publish(std::move(types));
}

ConstraintInfoSeq* FilterServant::add_constraints(const ConstraintExpSeq& list) {
    requireRoom(list.length());
    std::vector<Entry> added;
    for (CORBA::ULong i = 0; i < list.length(); ++i) {
        added.push_back(compiled(list[i]));
        added.back().place = core_->takeConstraintPlace(owner_);
    }
    Entries made;
    {
        const util::MutexLock guard(mutex_);
        requireRoom(entries_->size() + list.length());
        const auto changed = std::make_shared<Entries>(*entries_);
        for (Entry& each : added)
            made[++lastId_] = std::move(each);
        changed->insert(made.begin(), made.end());
        change(changed);
    }
    return listed(made);
}

void FilterServant::modify_constraints(const ConstraintIDSeq& removed,
                                       const ConstraintInfoSeq& changed) {
    requireRoom(changed.length());
    std::map<ConstraintID, Entry> compiledOnes;
    for (CORBA::ULong i = 0; i < changed.length(); ++i)
        compiledOnes[changed[i].constraint_id] = compiled(changed[i].constraint_expression);
    const util::MutexLock guard(mutex_);
    const auto result = std::make_shared<Entries>(*entries_);
    for (CORBA::ULong i = 0; i < removed.length(); ++i) {
        if (result->erase(removed[i]) == 0)
            throw notFound(removed[i]);
    }
    for (auto& [id, entry] : compiledOnes) {
        const auto found = result->find(id);
        if (found == result->end())
            throw notFound(id);
        entry.place = found->second.place;
        found->second = std::move(entry);
    }
    change(result);
}

ConstraintInfoSeq* FilterServant::get_constraints(const ConstraintIDSeq& ids) {
    const auto entries = current();
    Entries wanted;
    for (CORBA::ULong i = 0; i < ids.length(); ++i) {
        const auto found = entries->find(ids[i]);
        if (found == entries->end())
            throw notFound(ids[i]);
        wanted.insert(*found);
    }
    return listed(wanted);
}

ConstraintInfoSeq* FilterServant::get_all_constraints() {
    return listed(*current());
}

void FilterServant::remove_all_constraints() {
    const util::MutexLock guard(mutex_);
    change(std::make_shared<const Entries>());
}

void FilterServant::destroy() {
    if (destroyed_.exchange(true))
        return;
    onDestroy_();
    core_->deactivate(this);
    remove_all_constraints();
}

CORBA::Boolean FilterServant::match(const CORBA::Any& data) {
    Budget budget(core_->settings().perOwner.evaluationCost);
    return passes(makeEvent(data)->view(), budget);
}

CORBA::Boolean FilterServant::match_structured(const CosNotification::StructuredEvent& event) {
    Budget budget(core_->settings().perOwner.evaluationCost);
    return passes(event, budget);
}

bool FilterServant::passes(const kelp::orb::EventView& event, Budget& budget) const {
    const auto entries = current();
    for (const auto& [id, entry] : *entries) {
        const bool isForIt = budget.spend(1 + entry.expression.event_types.length()) &&
                             isOfType(entry.expression.event_types, event);
        if (isForIt && entry.constraint->matches(event, budget))
            return true;
        if (budget.isSpent())
            break;
    }
    if (budget.isSpent() && !toldOfCost_.exchange(true))
        kelp::util::traceFrom("notification",
                              "the filters of a consumer of " +
                                  (owner_ ? owner_->text() : std::string("this process")) +
                                  " cost too much: events do not match");
    return false;
}

CORBA::Boolean FilterServant::match_typed(const CosNotification::PropertySeq& data) {
    CosNotification::StructuredEvent event;
    event.filterable_data = data;
    return match_structured(event);
}

CallbackID FilterServant::attach_callback(CosNotifyComm::NotifySubscribe_ptr callback) {
    if (CORBA::is_nil(callback))
        throw CORBA::BAD_PARAM(0, CORBA::COMPLETED_NO);
    core_->requireCallable(callback);
    return types_->follow(toldOfSubscriptions("the callback of a filter", callback),
                          types_->types());
}

void FilterServant::detach_callback(CallbackID id) {
    if (!types_->unfollow(id))
        throw CallbackNotFound();
}

CallbackIDSeq* FilterServant::get_callbacks() {
    const std::vector<FollowedTypes::FollowerId> followers = types_->followers();
    CallbackIDSeq_var ids = new CallbackIDSeq;
    ids->length(static_cast<CORBA::ULong>(followers.size()));
    for (CORBA::ULong i = 0; i < ids->length(); ++i)
        ids[i] = followers[i];
    return ids._retn();
}

}  // namespace kelp::notification
