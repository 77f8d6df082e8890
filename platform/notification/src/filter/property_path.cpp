#include "property_path.h"

#include <kelp/orb/dyn_any.h>

#include <cstring>
#include <optional>

#include "delivery/utc_time.h"

namespace kelp::notification {

namespace {

using DynamicAny::DynAny;
using DynamicAny::DynAny_var;
using kelp::orb::EventProperties;
using kelp::orb::EventValue;
using kelp::orb::EventView;

/// A tree of dynamic values. Destroys the whole tree.
class DynTree {
  public:
    explicit DynTree(const CORBA::Any& any) : root_(kelp::orb::dynAnyOf(any)) {}
    ~DynTree() {
        try {
            root_->destroy();
        } catch (const CORBA::Exception&) {
            // it was destroyed before, so nothing is left to free
        }
    }
    DynTree(const DynTree&) = delete;
    DynTree& operator=(const DynTree&) = delete;
    DynamicAny::DynAny_ptr root() const { return root_.in(); }

  private:
    DynAny_var root_;
};

CORBA::TypeCode_ptr withoutAlias(CORBA::TypeCode_ptr type) {
    CORBA::TypeCode_var plain = CORBA::TypeCode::_duplicate(type);
    while (plain->kind() == CORBA::tk_alias)
        plain = plain->content_type();
    return plain._retn();
}

DynamicAny::DynAny_ptr elementAt(DynamicAny::DynAny_ptr dyn, CORBA::ULong index) {
    if (index >= dyn->component_count() || !dyn->seek(static_cast<CORBA::Long>(index)))
        return DynAny::_nil();
    return dyn->current_component();
}

/// A time as a number. Any other structure is not a simple value.
Result timeOf(DynamicAny::DynAny_ptr structure) {
    const std::optional<std::uint64_t> time = utcOf(structure);
    return time ? Result(static_cast<double>(*time)) : std::nullopt;
}

Result simpleValue(DynamicAny::DynAny_ptr dyn) {
    const CORBA::TypeCode_var declared = dyn->type();
    const CORBA::TypeCode_var type = withoutAlias(declared.in());
    switch (type->kind()) {
        case CORBA::tk_boolean:
            return static_cast<bool>(dyn->get_boolean());
        case CORBA::tk_octet:
            return std::int64_t{dyn->get_octet()};
        case CORBA::tk_short:
            return std::int64_t{dyn->get_short()};
        case CORBA::tk_ushort:
            return std::int64_t{dyn->get_ushort()};
        case CORBA::tk_long:
            return std::int64_t{dyn->get_long()};
        case CORBA::tk_ulong:
            return std::int64_t{dyn->get_ulong()};
        case CORBA::tk_longlong:
            return std::int64_t{dyn->get_longlong()};
        case CORBA::tk_ulonglong:
            return static_cast<double>(dyn->get_ulonglong());
        case CORBA::tk_float:
            return static_cast<double>(dyn->get_float());
        case CORBA::tk_double:
            return static_cast<double>(dyn->get_double());
        case CORBA::tk_char:
            return std::string(1, static_cast<char>(dyn->get_char()));
        case CORBA::tk_string: {
            const CORBA::String_var text = dyn->get_string();
            return std::string(text.in());
        }
        case CORBA::tk_enum: {
            const DynamicAny::DynEnum_var enumerator = DynamicAny::DynEnum::_narrow(dyn);
            const CORBA::String_var name = enumerator->get_as_string();
            return EnumValue{name.in(), enumerator->get_as_ulong()};
        }
        case CORBA::tk_any: {
            const CORBA::Any_var inner = dyn->get_any();
            const DynTree tree(inner.in());
            return simpleValue(tree.root());
        }
        case CORBA::tk_struct:
            return timeOf(dyn);
        default:
            return std::nullopt;
    }
}

/// Call `use` with what the path leads to. Returns none if the path leads nowhere, which includes
/// every exception that a DynAny raises on the way (no such member, another type).
template <class Use>
auto walk(DynamicAny::DynAny_ptr dyn, const PropertyPath& path, std::size_t at, Budget& budget,
          Use use) -> decltype(use(dyn, std::optional<Value>()));

template <class Use>
auto walkAny(const CORBA::Any& any, const PropertyPath& path, std::size_t at, Budget& budget,
             Use use) -> decltype(use(DynAny::_nil(), std::optional<Value>())) {
    const DynTree tree(any);
    return walk(tree.root(), path, at, budget, use);
}

template <class Use>
auto walkValue(const EventValue& value, const PropertyPath& path, std::size_t at, Budget& budget,
               Use use) -> decltype(use(DynAny::_nil(), std::optional<Value>())) {
    return value.with([&](const CORBA::Any& any) { return walkAny(any, path, at, budget, use); });
}

/// A discriminator or a label as written in a constraint.
std::string labelText(const Result& label) {
    if (!label)
        return {};
    if (const auto* flag = std::get_if<bool>(&*label))
        return *flag ? "1" : "0";
    if (const auto* number = std::get_if<std::int64_t>(&*label))
        return std::to_string(*number);
    if (const auto* enumerator = std::get_if<EnumValue>(&*label))
        return enumerator->name;
    const auto* text = std::get_if<std::string>(&*label);
    return text == nullptr ? std::string() : *text;
}

Result activeLabel(DynamicAny::DynUnion_ptr choice) {
    const DynAny_var discriminator = choice->get_discriminator();
    return simpleValue(discriminator.in());
}

/// True if `text` is the label. The text for an enumerator is its name or its position.
bool isLabelled(const Result& label, const std::string& text) {
    const auto* enumerator = label ? std::get_if<EnumValue>(&*label) : nullptr;
    return labelText(label) == text ||
           (enumerator != nullptr && std::to_string(enumerator->number) == text);
}

bool isDefaultActive(DynamicAny::DynUnion_ptr choice) {
    const CORBA::TypeCode_var declared = choice->type();
    const CORBA::TypeCode_var type = withoutAlias(declared.in());
    const CORBA::Long implied = type->default_index();
    const std::string active = labelText(activeLabel(choice));
    for (CORBA::ULong i = 0; i < type->member_count(); ++i) {
        if (static_cast<CORBA::Long>(i) == implied)
            continue;
        const CORBA::Any_var label = type->member_label(i);
        const DynTree tree(label.in());
        if (labelText(simpleValue(tree.root())) == active)
            return false;
    }
    return true;
}

/// The active member of a union if this label, or no label, makes it active.
DynamicAny::DynAny_ptr memberByLabel(DynamicAny::DynAny_ptr dyn, const PathStep& step) {
    const DynamicAny::DynUnion_var choice = DynamicAny::DynUnion::_narrow(dyn);
    if (CORBA::is_nil(choice.in()) || choice->has_no_active_member())
        return DynAny::_nil();
    const bool isIt = step.kind == PathStep::Kind::DefaultLabel
                          ? isDefaultActive(choice.in())
                          : isLabelled(activeLabel(choice.in()), step.name);
    return isIt ? choice->member() : DynAny::_nil();
}

/// The member of a structure with this name, or of a union if that member is active.
DynamicAny::DynAny_ptr memberOf(DynamicAny::DynAny_ptr dyn, const std::string& name) {
    const DynamicAny::DynStruct_var structure = DynamicAny::DynStruct::_narrow(dyn);
    if (!CORBA::is_nil(structure.in())) {
        structure->rewind();
        for (CORBA::ULong i = 0; i < structure->component_count(); ++i, structure->next()) {
            const CORBA::String_var each = structure->current_member_name();
            if (name == each.in())
                return structure->current_component();
        }
        return DynAny::_nil();
    }
    const DynamicAny::DynUnion_var choice = DynamicAny::DynUnion::_narrow(dyn);
    if (CORBA::is_nil(choice.in()) || choice->has_no_active_member())
        return DynAny::_nil();
    const CORBA::String_var active = choice->member_name();
    return name == active.in() ? choice->member() : DynAny::_nil();
}

/// The value paired with this name in a list of structures of a name and a value.
DynamicAny::DynAny_ptr valueBesideName(DynamicAny::DynAny_ptr list, const std::string& name,
                                       Budget& budget) {
    for (CORBA::ULong i = 0; i < list->component_count() && budget.spend(); ++i) {
        const DynAny_var element = elementAt(list, i);
        const DynAny_var first = elementAt(element.in(), 0);
        if (CORBA::is_nil(first.in()))
            return DynAny::_nil();
        const CORBA::String_var each = first->get_string();
        if (name == each.in())
            return elementAt(element.in(), 1);
    }
    return DynAny::_nil();
}

std::optional<Value> specialValue(PathStep::Kind kind, DynamicAny::DynAny_ptr dyn) {
    const CORBA::TypeCode_var type = dyn->type();
    switch (kind) {
        case PathStep::Kind::Length: {
            const CORBA::TypeCode_var plain = withoutAlias(type.in());
            if (plain->kind() != CORBA::tk_sequence && plain->kind() != CORBA::tk_array)
                return std::nullopt;
            return std::int64_t{dyn->component_count()};
        }
        case PathStep::Kind::Discriminant: {
            const DynamicAny::DynUnion_var choice = DynamicAny::DynUnion::_narrow(dyn);
            if (CORBA::is_nil(choice.in()))
                return std::nullopt;
            const DynAny_var discriminator = choice->get_discriminator();
            return simpleValue(discriminator.in());
        }
        case PathStep::Kind::TypeId:
            return std::string(type->name());
        case PathStep::Kind::RepositoryId:
            return std::string(type->id());
        default:
            return std::nullopt;
    }
}

DynamicAny::DynAny_ptr stepInto(DynamicAny::DynAny_ptr dyn, const PathStep& step, Budget& budget) {
    switch (step.kind) {
        case PathStep::Kind::Member:
            return memberOf(dyn, step.name);
        case PathStep::Kind::Name:
            return valueBesideName(dyn, step.name, budget);
        case PathStep::Kind::Index:
        case PathStep::Kind::Position:
            return elementAt(dyn, step.at);
        case PathStep::Kind::Label:
        case PathStep::Kind::DefaultLabel:
            return memberByLabel(dyn, step);
        default:
            return DynAny::_nil();
    }
}

bool isSpecial(PathStep::Kind kind) {
    return kind >= PathStep::Kind::Length;
}

template <class Use>
auto walk(DynamicAny::DynAny_ptr dyn, const PropertyPath& path, std::size_t at, Budget& budget,
          Use use) -> decltype(use(dyn, std::optional<Value>())) {
    const CORBA::TypeCode_var declared = dyn->type();
    const CORBA::TypeCode_var type = withoutAlias(declared.in());
    if (type->kind() == CORBA::tk_any && at < path.size()) {
        const CORBA::Any_var inner = dyn->get_any();
        return walkAny(inner.in(), path, at, budget, use);
    }
    if (at == path.size())
        return use(dyn, std::nullopt);
    if (isSpecial(path[at].kind)) {
        const std::optional<Value> special = specialValue(path[at].kind, dyn);
        return special && at + 1 == path.size() ? use(DynAny::_nil(), special)
                                                : decltype(use(dyn, special))();
    }
    const DynAny_var next = budget.spend() ? stepInto(dyn, path[at], budget) : DynAny::_nil();
    if (CORBA::is_nil(next.in()))
        return {};
    return walk(next.in(), path, at + 1, budget, use);
}

/// The field of the fixed header with this name; null if there is none.
const char* headerText(const EventView& event, const std::string& name) {
    if (name == "domain_name")
        return event.domainName();
    if (name == "type_name")
        return event.typeName();
    if (name == "event_name")
        return event.eventName();
    return nullptr;
}

bool isMember(const PropertyPath& path, std::size_t at, const char* name) {
    return at < path.size() && path[at].kind == PathStep::Kind::Member && path[at].name == name;
}

bool isEnd(const PropertyPath& path, std::size_t at) {
    return at >= path.size();
}

/// Resolves paths such as "$.filterable_data(x)..." and "$.header.variable_header[1].value...".
/// `at` is the step after the list.
template <class Use>
auto findListed(const EventProperties& properties, const PropertyPath& path, std::size_t at,
                Budget& budget, Use use) -> decltype(use(DynAny::_nil(), std::optional<Value>())) {
    if (isEnd(path, at))
        return use(DynAny::_nil(), std::nullopt);
    const PathStep& step = path[at];
    if (step.kind == PathStep::Kind::Length)
        return use(DynAny::_nil(), Value(std::int64_t{properties.size()}));
    if (step.kind == PathStep::Kind::Name) {
        const std::optional<EventValue> value = properties.find(step.name.c_str());
        return value ? walkValue(*value, path, at + 1, budget, use)
                     : decltype(use(DynAny::_nil(), std::nullopt))();
    }
    if (step.kind != PathStep::Kind::Index || step.at >= properties.size())
        return {};
    const kelp::orb::EventProperty property = properties.at(step.at);
    if (isEnd(path, at + 1))
        return use(DynAny::_nil(), std::nullopt);
    if (isMember(path, at + 1, "name"))
        return use(DynAny::_nil(), Value(std::string(property.name)));
    return walkValue(property.value, path, at + 2, budget, use);
}

/// Resolves paths such as "$.header.fixed_header.event_name". `at` is the step after the fixed
/// header.
template <class Use>
auto findFixed(const EventView& event, const PropertyPath& path, std::size_t at, Use use)
    -> decltype(use(DynAny::_nil(), std::optional<Value>())) {
    if (isMember(path, at, "event_type"))
        ++at;
    if (isEnd(path, at))
        return use(DynAny::_nil(), std::nullopt);
    const char* text = isEnd(path, at + 1) ? headerText(event, path[at].name) : nullptr;
    if (text == nullptr)
        return {};
    return use(DynAny::_nil(), Value(std::string(text)));
}

template <class Use>
auto findChecked(const EventView& event, const PropertyPath& path, Budget& budget, Use use)
    -> decltype(use(DynAny::_nil(), std::optional<Value>())) {
    if (path.empty() || path[0].kind != PathStep::Kind::Member)
        return {};
    if (isMember(path, 0, "curtime"))
        return use(DynAny::_nil(), Value(static_cast<double>(currentUtc())));
    if (isMember(path, 0, "header")) {
        if (isEnd(path, 1))
            return use(DynAny::_nil(), std::nullopt);
        return isMember(path, 1, "fixed_header")
                   ? findFixed(event, path, 2, use)
                   : findListed(event.variableHeader(), path, 2, budget, use);
    }
    if (isMember(path, 0, "filterable_data"))
        return findListed(event.filterableData(), path, 1, budget, use);
    if (isMember(path, 0, "remainder_of_body"))
        return walkValue(event.remainderOfBody(), path, 1, budget, use);
    if (headerText(event, path[0].name) != nullptr)
        return findFixed(event, path, 0, use);
    std::optional<EventValue> value = event.variableHeader().find(path[0].name.c_str());
    if (!value)
        value = event.filterableData().find(path[0].name.c_str());
    return value ? walkValue(*value, path, 1, budget, use)
                 : decltype(use(DynAny::_nil(), std::nullopt))();
}

template <class Use>
auto find(const EventView& event, const PropertyPath& path, Budget& budget, Use use)
    -> decltype(use(DynAny::_nil(), std::optional<Value>())) {
    try {
        return findChecked(event, path, budget, use);
    } catch (const CORBA::Exception&) {
        return {};  // the value does not have the next step
    }
}

bool isFieldOfHeader(const PathStep& step) {
    return step.kind == PathStep::Kind::Member &&
           (step.name == "domain_name" || step.name == "type_name" || step.name == "event_name");
}

bool isPossibleInList(const PropertyPath& path, std::size_t at) {
    if (isEnd(path, at) || path[at].kind == PathStep::Kind::Name)
        return true;
    if (path[at].kind == PathStep::Kind::Length)
        return isEnd(path, at + 1);
    if (path[at].kind != PathStep::Kind::Index)
        return false;
    if (isMember(path, at + 1, "name"))
        return isEnd(path, at + 2);
    return isEnd(path, at + 1) || isMember(path, at + 1, "value");
}

bool isPossibleInFixedHeader(const PropertyPath& path, std::size_t at) {
    if (isMember(path, at, "event_type"))
        ++at;
    return isEnd(path, at) || (isFieldOfHeader(path[at]) && isEnd(path, at + 1));
}

}  // namespace

bool isPossible(const PropertyPath& path) {
    if (isMember(path, 0, "curtime"))
        return isEnd(path, 1) || (isMember(path, 1, "time") && isEnd(path, 2));
    if (isMember(path, 0, "filterable_data"))
        return isPossibleInList(path, 1);
    if (isMember(path, 0, "header") && !isEnd(path, 1))
        return isMember(path, 1, "fixed_header")
                   ? isPossibleInFixedHeader(path, 2)
                   : isMember(path, 1, "variable_header") && isPossibleInList(path, 2);
    return path.empty() || !isFieldOfHeader(path[0]) || isEnd(path, 1);
}

Result EventReader::value(const PropertyPath& path) const {
    return find(event_, path, budget_,
                [](DynamicAny::DynAny_ptr dyn, const std::optional<Value>& ready) -> Result {
                    return CORBA::is_nil(dyn) ? ready : simpleValue(dyn);
                });
}

bool EventReader::exists(const PropertyPath& path) const {
    return find(event_, path, budget_,
                [](DynamicAny::DynAny_ptr, const std::optional<Value>&) { return true; });
}

Result EventReader::hasDefaultLabel(const PropertyPath& path) const {
    return find(event_, path, budget_,
                [](DynamicAny::DynAny_ptr dyn, const std::optional<Value>&) -> Result {
                    const DynamicAny::DynUnion_var choice = DynamicAny::DynUnion::_narrow(dyn);
                    return CORBA::is_nil(choice.in()) ? std::nullopt
                                                      : Result(isDefaultActive(choice.in()));
                });
}

Result EventReader::contains(const PropertyPath& path, const Value& element) const {
    return find(
        event_, path, budget_,
        [&](DynamicAny::DynAny_ptr dyn, const std::optional<Value>&) -> Result {
            if (CORBA::is_nil(dyn))
                return std::nullopt;
            const CORBA::TypeCode_var declared = dyn->type();
            const CORBA::TypeCode_var type = withoutAlias(declared.in());
            if (type->kind() != CORBA::tk_sequence && type->kind() != CORBA::tk_array)
                return std::nullopt;
            for (CORBA::ULong i = 0; i < dyn->component_count(); ++i) {
                if (!budget_.spend())
                    return std::nullopt;
                const DynAny_var each = elementAt(dyn, i);
                const Result value = simpleValue(each.in());
                if (value && truth(compare(Comparison::Equal, *value, element)).value_or(false))
                    return true;
            }
            return false;
        });
}

}  // namespace kelp::notification
