#include "text/any_json.h"

#include <kelp/orb/dyn_any.h>
#include <mtnm/globaldefs.h>

#include <optional>
#include <string>
#include <utility>

namespace kelp::nms {

namespace {

using DynamicAny::DynAny_var;
using Json = nlohmann::ordered_json;

/// Texts are copied as the peer wrote them. Invalid UTF-8 is replaced when the JSON is written.
/// How a list of names and text values is written.
enum class Pairs { AsObject, AsList };

Json jsonOf(DynamicAny::DynAny_ptr dyn, Pairs pairs);
Json jsonOfAny(const CORBA::Any& any, Pairs pairs);

Json elementsOf(DynamicAny::DynAny_ptr dyn, Pairs pairs) {
    Json list = Json::array();
    for (CORBA::ULong i = 0; i < dyn->component_count(); ++i) {
        dyn->seek(static_cast<CORBA::Long>(i));
        const DynAny_var element = dyn->current_component();
        list.push_back(jsonOf(element.in(), pairs));
    }
    return list;
}

Json membersOf(DynamicAny::DynAny_ptr dyn, Pairs pairs) {
    const DynamicAny::DynStruct_var structure = DynamicAny::DynStruct::_narrow(dyn);
    Json object = Json::object();
    structure->rewind();
    for (CORBA::ULong i = 0; i < structure->component_count(); ++i, structure->next()) {
        const CORBA::String_var name = structure->current_member_name();
        const DynAny_var member = structure->current_component();
        object[name.in()] = jsonOf(member.in(), pairs);
    }
    return object;
}

/// Shorten a list of {name, value} structures whose members are all texts to {name: value}.
Json withoutNameValuePairs(Json list) {
    Json object = Json::object();
    for (const Json& each : list) {
        if (!each.is_object() || each.size() != 2 || !each.contains("name") ||
            !each.contains("value") || !each["name"].is_string() ||
            object.contains(each["name"].get<std::string>()))
            return list;
        object[each["name"].get<std::string>()] = each["value"];
    }
    return list.empty() ? list : object;
}

Json jsonOf(DynamicAny::DynAny_ptr dyn, Pairs pairs) {
    CORBA::TypeCode_var type = dyn->type();
    while (type->kind() == CORBA::tk_alias)
        type = type->content_type();
    switch (type->kind()) {
        case CORBA::tk_boolean:
            return static_cast<bool>(dyn->get_boolean());
        case CORBA::tk_short:
            return dyn->get_short();
        case CORBA::tk_ushort:
            return dyn->get_ushort();
        case CORBA::tk_long:
            return dyn->get_long();
        case CORBA::tk_ulong:
            return dyn->get_ulong();
        case CORBA::tk_longlong:
            return static_cast<std::int64_t>(dyn->get_longlong());
        case CORBA::tk_ulonglong:
            return static_cast<std::uint64_t>(dyn->get_ulonglong());
        case CORBA::tk_float:
            return dyn->get_float();
        case CORBA::tk_double:
            return dyn->get_double();
        case CORBA::tk_string: {
            const CORBA::String_var text = dyn->get_string();
            return std::string(text.in());
        }
        case CORBA::tk_enum: {
            const DynamicAny::DynEnum_var enumerator = DynamicAny::DynEnum::_narrow(dyn);
            const CORBA::String_var name = enumerator->get_as_string();
            return std::string(name.in());
        }
        case CORBA::tk_sequence:
        case CORBA::tk_array:
            return pairs == Pairs::AsObject ? withoutNameValuePairs(elementsOf(dyn, pairs))
                                            : elementsOf(dyn, pairs);
        case CORBA::tk_struct:
            return membersOf(dyn, pairs);
        case CORBA::tk_any: {
            const CORBA::Any_var inner = dyn->get_any();
            return jsonOfAny(inner.in(), pairs);
        }
        default:
            return nullptr;
    }
}

Json jsonOf(const globaldefs::NVSList_T& pairs) {
    Json list = Json::array();
    for (CORBA::ULong i = 0; i < pairs.length(); ++i)
        list.push_back({{"name", pairs[i].name.in()}, {"value", pairs[i].value.in()}});
    return withoutNameValuePairs(std::move(list));
}

/// Convert the types of nearly all fields of an event. A DynAny takes many times as long. Returns
/// none for any other type.
std::optional<Json> jsonOfFrequent(const CORBA::Any& any) {
    const CORBA::TypeCode_var type = any.type();
    const char* text = nullptr;
    CORBA::Boolean flag = false;
    CORBA::Short number = 0;
    const globaldefs::NVSList_T* pairs = nullptr;
    switch (type->kind()) {
        case CORBA::tk_string:
            if (any >>= text)
                return Json(std::string(text));
            break;
        case CORBA::tk_boolean:
            if (any >>= CORBA::Any::to_boolean(flag))
                return Json(static_cast<bool>(flag));
            break;
        case CORBA::tk_short:
            if (any >>= number)
                return Json(number);
            break;
        case CORBA::tk_alias:
            if (any >>= pairs)
                return jsonOf(*pairs);
            break;
        default:
            break;
    }
    return std::nullopt;
}

Json jsonOfAny(const CORBA::Any& any, Pairs pairs) {
    try {
        if (pairs == Pairs::AsObject) {
            if (std::optional<Json> json = jsonOfFrequent(any))
                return *std::move(json);
        }
        const DynAny_var dyn = kelp::orb::dynAnyOf(any);
        Json json = jsonOf(dyn.in(), pairs);
        dyn->destroy();
        return json;
    } catch (const CORBA::Exception&) {
        return nullptr;  // a value that cannot be decoded
    }
}

}  // namespace

Json asJson(const CORBA::Any& any) {
    return jsonOfAny(any, Pairs::AsObject);
}

Json asWholeJson(const CORBA::Any& any) {
    return jsonOfAny(any, Pairs::AsList);
}

}  // namespace kelp::nms
