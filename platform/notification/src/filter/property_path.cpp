#include "property_path.h"

#include <kelp/orb/dyn_any.h>

#include <cstring>
#include <optional>

namespace kelp::notification {

namespace {

using DynamicAny::DynAny;
using DynamicAny::DynAny_var;

/// A tree of dynamic values, destroyed as a whole.
class DynTree {
  public:
    explicit DynTree(const CORBA::Any& any) : root_(kelp::orb::dynAnyOf(any)) {}
    ~DynTree() {
        try {
            root_->destroy();
        } catch (const CORBA::Exception&) {
            // destroyed before; nothing is held any more
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

/// Property of that name; null when there is none.
const CORBA::Any* find(const CosNotification::PropertySeq& properties, const std::string& name) {
    for (CORBA::ULong i = 0; i < properties.length(); ++i) {
        if (name == properties[i].name.in())
            return &properties[i].value;
    }
    return nullptr;
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
            return std::string(1, dyn->get_char());
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
        default:
            return std::nullopt;
    }
}

/// What is found at the end of a path is given to `use`; none when the path leads nowhere. Everything that a
/// DynAny raises on the way (no such member, another type) is a path that leads nowhere.
template <class Use>
auto walk(DynamicAny::DynAny_ptr dyn, const PropertyPath& path, std::size_t at, Use use)
    -> decltype(use(dyn, std::optional<Value>()));

template <class Use>
auto walkAny(const CORBA::Any& any, const PropertyPath& path, std::size_t at, Use use)
    -> decltype(use(DynAny::_nil(), std::optional<Value>())) {
    const DynTree tree(any);
    return walk(tree.root(), path, at, use);
}

DynamicAny::DynAny_ptr elementAt(DynamicAny::DynAny_ptr dyn, CORBA::ULong index) {
    if (index >= dyn->component_count() || !dyn->seek(static_cast<CORBA::Long>(index)))
        return DynAny::_nil();
    return dyn->current_component();
}

/// The member of a structure, or of a union if it is the active one.
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

/// The value beside this name in a list of structures of a name and a value.
DynamicAny::DynAny_ptr valueBesideName(DynamicAny::DynAny_ptr list, const std::string& name) {
    for (CORBA::ULong i = 0; i < list->component_count(); ++i) {
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

DynamicAny::DynAny_ptr stepInto(DynamicAny::DynAny_ptr dyn, const PathStep& step) {
    switch (step.kind) {
        case PathStep::Kind::Member:
            return memberOf(dyn, step.name);
        case PathStep::Kind::Name:
            return valueBesideName(dyn, step.name);
        case PathStep::Kind::Index:
        case PathStep::Kind::Position:
            return elementAt(dyn, step.at);
        default:
            return DynAny::_nil();
    }
}

bool isSpecial(PathStep::Kind kind) {
    return kind >= PathStep::Kind::Length;
}

template <class Use>
auto walk(DynamicAny::DynAny_ptr dyn, const PropertyPath& path, std::size_t at, Use use)
    -> decltype(use(dyn, std::optional<Value>())) {
    const CORBA::TypeCode_var declared = dyn->type();
    const CORBA::TypeCode_var type = withoutAlias(declared.in());
    if (type->kind() == CORBA::tk_any && at < path.size()) {
        const CORBA::Any_var inner = dyn->get_any();
        return walkAny(inner.in(), path, at, use);
    }
    if (at == path.size())
        return use(dyn, std::nullopt);
    if (isSpecial(path[at].kind)) {
        const std::optional<Value> special = specialValue(path[at].kind, dyn);
        return special && at + 1 == path.size() ? use(DynAny::_nil(), special)
                                                : decltype(use(dyn, special))();
    }
    const DynAny_var next = stepInto(dyn, path[at]);
    if (CORBA::is_nil(next.in()))
        return {};
    return walk(next.in(), path, at + 1, use);
}

/// The names by which the fixed header's fields are known.
const char* headerText(const CosNotification::StructuredEvent& event, const std::string& name) {
    const CosNotification::FixedEventHeader& header = event.header.fixed_header;
    if (name == "domain_name")
        return header.event_type.domain_name.in();
    if (name == "type_name")
        return header.event_type.type_name.in();
    if (name == "event_name")
        return header.event_name.in();
    return nullptr;
}

bool isMember(const PropertyPath& path, std::size_t at, const char* name) {
    return at < path.size() && path[at].kind == PathStep::Kind::Member && path[at].name == name;
}

/// "$.filterable_data(x)...", "$.header.variable_header(x)...": the property, and where the path goes on.
const CORBA::Any* listedProperty(const CosNotification::PropertySeq& properties, const PropertyPath& path,
                                 std::size_t list, std::size_t& next) {
    if (list + 1 >= path.size())
        return nullptr;
    const PathStep& step = path[list + 1];
    next = list + 2;
    if (step.kind == PathStep::Kind::Name)
        return find(properties, step.name);
    return nullptr;
}

template <class Use>
auto find(const CosNotification::StructuredEvent& event, const PropertyPath& path, Use use)
    -> decltype(use(DynAny::_nil(), std::optional<Value>())) {
    if (path.empty() || path[0].kind != PathStep::Kind::Member)
        return {};
    const auto text = [&](std::size_t at) -> decltype(use(DynAny::_nil(), std::optional<Value>())) {
        const char* found = at + 1 == path.size() ? headerText(event, path[at].name) : nullptr;
        if (found == nullptr)
            return {};
        return use(DynAny::_nil(), Value(std::string(found)));
    };
    std::size_t next = 1;
    const CORBA::Any* any = nullptr;
    if (isMember(path, 0, "header") && isMember(path, 1, "fixed_header")) {
        const std::size_t last = isMember(path, 2, "event_type") ? 3 : 2;
        return last < path.size() ? text(last) : decltype(text(0))();
    }
    if (isMember(path, 0, "header") && isMember(path, 1, "variable_header"))
        any = listedProperty(event.header.variable_header, path, 1, next);
    else if (isMember(path, 0, "filterable_data"))
        any = listedProperty(event.filterable_data, path, 0, next);
    else if (isMember(path, 0, "remainder_of_body"))
        any = &event.remainder_of_body;
    else if (headerText(event, path[0].name) != nullptr)
        return text(0);
    else if ((any = find(event.header.variable_header, path[0].name)) == nullptr)
        any = find(event.filterable_data, path[0].name);
    if (any == nullptr)
        return {};
    try {
        return walkAny(*any, path, next, use);
    } catch (const CORBA::Exception&) {
        return {};  // a step that the value does not have
    }
}

}  // namespace

Result EventReader::value(const PropertyPath& path) const {
    return find(event_, path, [](DynamicAny::DynAny_ptr dyn, const std::optional<Value>& ready) -> Result {
        return CORBA::is_nil(dyn) ? ready : simpleValue(dyn);
    });
}

bool EventReader::exists(const PropertyPath& path) const {
    return find(event_, path, [](DynamicAny::DynAny_ptr, const std::optional<Value>&) { return true; });
}

Result EventReader::contains(const PropertyPath& path, const Value& element) const {
    return find(event_, path, [&](DynamicAny::DynAny_ptr dyn, const std::optional<Value>&) -> Result {
        if (CORBA::is_nil(dyn))
            return std::nullopt;
        const CORBA::TypeCode_var declared = dyn->type();
        const CORBA::TypeCode_var type = withoutAlias(declared.in());
        if (type->kind() != CORBA::tk_sequence && type->kind() != CORBA::tk_array)
            return std::nullopt;
        for (CORBA::ULong i = 0; i < dyn->component_count(); ++i) {
            const DynAny_var each = elementAt(dyn, i);
            const Result value = simpleValue(each.in());
            if (value && truth(compare(Comparison::Equal, *value, element)).value_or(false))
                return true;
        }
        return false;
    });
}

}  // namespace kelp::notification
