#include "events/event_extract.h"

#include <string>

#include "text/any_json.h"

namespace kelp::nms {

namespace {

using Json = nlohmann::ordered_json;

/// "ManagedElement" for a ManagedElement_T.
std::string kindOf(const CORBA::Any& body) {
    const CORBA::TypeCode_var type = body.type();
    if (type->kind() != CORBA::tk_struct)
        return {};
    std::string kind = type->name();
    if (kind.ends_with("_T"))
        kind.resize(kind.size() - 2);
    return kind;
}

Json createdObject(const CORBA::Any& body) {
    Json object = Json::object();
    object["object"] = kindOf(body);
    const Json members = asWholeJson(body);
    if (members.is_object())
        object.update(members);
    return object;
}

Json changeOf(const CosNotification::StructuredEvent& event, const std::string& type) {
    const bool isCreation = type == "NT_OBJECT_CREATION";
    const bool isChange = type == "NT_ATTRIBUTE_VALUE_CHANGE" || type == "NT_STATE_CHANGE";
    if (!isCreation && !isChange && type != "NT_OBJECT_DELETION")
        return nullptr;
    Json change = Json::object();
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i) {
        const auto& field = event.filterable_data[i];
        const std::string name = field.name.in();
        if (name == "objectName")
            change["name"] = asWholeJson(field.value);
        else if (isChange && name == "attributeList")
            change["attributes"] = asWholeJson(field.value);
    }
    if (isCreation)
        change["object"] = createdObject(event.remainder_of_body);
    return change;
}

}  // namespace

EventRecord recordOf(const CosNotification::StructuredEvent& event) {
    EventRecord record;
    record.type = event.header.fixed_header.event_type.type_name.in();
    for (CORBA::ULong i = 0; i < event.filterable_data.length(); ++i)
        record.fields.emplace(event.filterable_data[i].name.in(),
                              asJson(event.filterable_data[i].value));
    record.change = changeOf(event, record.type);
    return record;
}

}  // namespace kelp::nms
