#include "network_event.h"

#include <mtnm/notifications.h>

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "attribute_any.h"
#include "idl_names.h"

namespace kelp::managers {

namespace {

using alarms::NetworkChange;
using Kind = NetworkChange::Kind;

constexpr const char* kEventDomain = "tmf_mtnm";
/// Room for all fields, so that the sequence never grows, which would copy them.
constexpr CORBA::ULong kNetworkFieldsMax = 8;

/// The attributes whose changes are state changes (TMF 814).
bool isState(const std::string& attribute) {
    static constexpr std::array<std::string_view, 5> kStates = {
        "communicationState", "emsInSyncState", "holderState", "serviceState", "connectionState"};
    return std::find(kStates.begin(), kStates.end(), attribute) != kStates.end();
}

alarms::ObjectType objectTypeOf(const inventory::ObjectChange& change) {
    switch (change.kind) {
        case inventory::ObjectKind::ManagedElement:
            return alarms::ObjectType::ManagedElement;
        case inventory::ObjectKind::EquipmentHolder:
            return alarms::ObjectType::EquipmentHolder;
        case inventory::ObjectKind::Equipment:
            return alarms::ObjectType::Equipment;
        case inventory::ObjectKind::TerminationPoint:
            // the standard has no object type for an FTP; its structure is that of a PTP
            return !change.name.empty() && change.name.back().name == "CTP"
                       ? alarms::ObjectType::ConnectionTerminationPoint
                       : alarms::ObjectType::PhysicalTerminationPoint;
        case inventory::ObjectKind::TopologicalLink:
            return alarms::ObjectType::TopologicalLink;
        case inventory::ObjectKind::Subnetwork:
            return alarms::ObjectType::MultilayerSubnetwork;
        case inventory::ObjectKind::Ems:
            break;
    }
    return alarms::ObjectType::Ems;
}

NetworkChange changeOf(Kind kind, const inventory::ObjectChange& change) {
    NetworkChange result;
    result.kind = kind;
    result.objectName.emplace_back("EMS", emsName());
    for (const inventory::NameValue& each : change.name)
        result.objectName.emplace_back(each.name, each.value);
    result.objectType = objectTypeOf(change);
    result.content = inventory::encodeChange(change);
    return result;
}

const char* typeOf(Kind kind) {
    switch (kind) {
        case Kind::Creation:
            return "NT_OBJECT_CREATION";
        case Kind::Deletion:
            return "NT_OBJECT_DELETION";
        case Kind::AttributeValueChange:
            return "NT_ATTRIBUTE_VALUE_CHANGE";
        case Kind::StateChange:
            break;
    }
    return "NT_STATE_CHANGE";
}

inventory::ObjectChange contentOf(const NetworkChange& change) {
    inventory::ObjectChange content;
    for (std::size_t i = 1; i < change.objectName.size(); ++i)
        content.name.push_back({change.objectName[i].first, change.objectName[i].second});
    inventory::decodeChange(change.content, content);
    return content;
}

globaldefs::NamingAttributes_T nameOf(const NetworkChange& change) {
    inventory::NameValues values;
    for (const auto& [name, value] : change.objectName)
        values.push_back({name, value});
    globaldefs::NamingAttributes_T name;
    toIdl(values, name);
    return name;
}

/// The next free field of an event.
class NextField {
  public:
    explicit NextField(CosNotification::PropertySeq& data) : data_(data) {
        data_.length(kNetworkFieldsMax);
    }
    ~NextField() { data_.length(used_); }
    NextField(const NextField&) = delete;
    NextField& operator=(const NextField&) = delete;

    CORBA::Any& named(const char* name) {
        data_[used_].name = CORBA::string_dup(name);
        return data_[used_++].value;
    }

  private:
    CosNotification::PropertySeq& data_;
    CORBA::ULong used_ = 0;
};

}  // namespace

std::vector<KeyedNetworkChange> networkChanges(const inventory::ObjectChange& change) {
    using Operation = inventory::ObjectChange::Operation;
    switch (change.operation) {
        case Operation::Created:
            return {{change.key, changeOf(Kind::Creation, change)}};
        case Operation::Deleted:
            return {{change.key, changeOf(Kind::Deletion, change)}};
        case Operation::Lost:
            return {};
        case Operation::Changed:
            break;
    }
    inventory::ObjectChange states = change;
    const auto firstState =
        std::stable_partition(states.attributes.begin(), states.attributes.end(),
                              [](const std::string& attribute) { return !isState(attribute); });
    inventory::ObjectChange others = change;
    others.attributes.assign(states.attributes.begin(), firstState);
    states.attributes.erase(states.attributes.begin(), firstState);
    std::vector<KeyedNetworkChange> result;
    if (!others.attributes.empty())
        result.push_back({change.key, changeOf(Kind::AttributeValueChange, others)});
    if (!states.attributes.empty())
        result.push_back({change.key + "/state", changeOf(Kind::StateChange, states)});
    return result;
}

void fillNetworkEvent(CosNotification::StructuredEvent& event, const NetworkChange& change,
                      const std::string& notificationId, const std::string& emsTime) {
    const inventory::ObjectChange content = contentOf(change);
    auto& header = event.header.fixed_header;
    header.event_type.domain_name = CORBA::string_dup(kEventDomain);
    header.event_type.type_name = CORBA::string_dup(typeOf(change.kind));
    header.event_name = CORBA::string_dup("");
    NextField fields(event.filterable_data);
    fields.named("notificationId") <<= notificationId.c_str();
    fields.named("objectName") <<= nameOf(change);
    if (change.objectTypeQualifier.empty())
        fields.named("objectType") <<= static_cast<notifications::ObjectType_T>(change.objectType);
    else
        fields.named("objectTypeQualifier") <<= change.objectTypeQualifier.c_str();
    fields.named("emsTime") <<= emsTime.c_str();
    if (content.isEdgePoint)
        fields.named("edgePointRelated") <<= CORBA::Any::from_boolean(true);
    if (change.kind == Kind::AttributeValueChange || change.kind == Kind::StateChange)
        fields.named("attributeList") <<= attributeList(content.row, content.attributes);
    if (change.kind == Kind::Creation)
        insertStructure(content.row, event.remainder_of_body);
}

}  // namespace kelp::managers
