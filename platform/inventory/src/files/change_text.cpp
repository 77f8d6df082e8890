#include <kelp/inventory/change_feed.h>
#include <kelp/inventory/object_name.h>
#include <kelp/util/json_text.h>

#include <algorithm>
#include <type_traits>
#include <utility>

#include "database/table.h"
#include "files/json_values.h"

namespace kelp::inventory {

namespace {

constexpr const char* kObjectKey = "object";
constexpr const char* kEdgePointKey = "isEdgePoint";
constexpr const char* kAttributesKey = "attributes";
/// The component before all names. Its value does not matter here.
constexpr const char* kEmsKey = "EMS";

[[noreturn]] void refuseText(const std::string& problem) {
    throw InventoryFailure("a recorded change of the inventory is damaged: " + problem);
}

/// An array, because the order of the components matters.
Json jsonOfTp(const TpName& name) {
    Json array = Json::array();
    eachComponent(name, [&](const char* component, const std::string& value) {
        array.push_back(component);
        array.push_back(value);
    });
    return array;
}

ObjectName objectNameIn(NameValues components) {
    components.insert(components.begin(), NameValue{kEmsKey, kEmsKey});
    const std::optional<ObjectName> name = objectNameOf(kEmsKey, components);
    if (!name)
        refuseText("its name is not that of an object");
    return *name;
}

TpName tpOf(const Json& array) {
    NameValues components;
    for (std::size_t i = 0; array.is_array() && i + 1 < array.size(); i += 2)
        components.push_back({array[i].get<std::string>(), array[i + 1].get<std::string>()});
    const ObjectName name = objectNameIn(std::move(components));
    if (!std::holds_alternative<TpName>(name))
        refuseText("an end of a link is not a termination point");
    return std::get<TpName>(name);
}

// Set the parts of a row's name.
void setName(const ManagedElementName& name, ManagedElement& row) {
    row.name = name.managedElement;
}
void setName(const HolderName& name, EquipmentHolder& row) {
    row.managedElement = name.managedElement;
    row.name = name.holder;
}
void setName(const EquipmentName& name, Equipment& row) {
    row.managedElement = name.managedElement;
    row.holder = name.holder;
    row.name = name.equipment;
}
void setName(const TpName& name, TerminationPoint& row) {
    row.name = name;
}
void setName(const LinkName& name, TopologicalLink& row) {
    row.name = name.link;
}
void setName(const SubnetworkName& name, Subnetwork& row) {
    row.name = name.subnetwork;
}
void setName(const EmsName&, EmsAttributes&) {}

template <class Row>
void nameRow(const ObjectName& name, Row& row) {
    std::visit(
        [&](const auto& each) {
            if constexpr (requires { setName(each, row); })
                setName(each, row);
            else
                refuseText("its name is of another kind");
        },
        name);
}

template <class Row>
void writeRow(const Row& row, const ObjectChange& change, Json& attributes) {
    const auto isWanted = [&](const std::string& name) {
        return change.operation == ObjectChange::Operation::Created ||
               std::find(change.attributes.begin(), change.attributes.end(), name) !=
                   change.attributes.end();
    };
    const auto write = [&](const char* name, const auto& value) {
        if (isWanted(name))
            attributes[name] = jsonOf(value);
    };
    if constexpr (requires { Table<Row>::visitStandard(row, write); })
        Table<Row>::visitStandard(row, write);
    else
        Table<Row>::visit(row, write);
    if constexpr (std::is_same_v<Row, TopologicalLink>) {
        if (isWanted("aEndTP"))
            attributes["aEndTP"] = jsonOfTp(row.aEnd);
        if (isWanted("zEndTP"))
            attributes["zEndTP"] = jsonOfTp(row.zEnd);
    }
}

template <class Row>
void readRow(const Json& attributes, ObjectChange& change) {
    Row row;
    nameRow(objectNameIn(change.name), row);
    Table<Row>::visit(row, [&](const char* name, auto& value) {
        if (!attributes.contains(name))
            return;
        if (const std::string problem = assign(attributes[name], value); !problem.empty())
            refuseText(std::string(name) + ": " + problem);
    });
    if constexpr (std::is_same_v<Row, TopologicalLink>) {
        if (attributes.contains("aEndTP"))
            row.aEnd = tpOf(attributes["aEndTP"]);
        if (attributes.contains("zEndTP"))
            row.zEnd = tpOf(attributes["zEndTP"]);
    }
    change.kind = Table<Row>::kKind;
    change.row = std::move(row);
}

}  // namespace

std::string encodeChange(const ObjectChange& change) {
    Json json;
    Json attributes = Json::object();
    std::visit(
        [&](const auto& row) {
            json[kObjectKey] = Table<std::decay_t<decltype(row)>>::kWord;
            if (change.operation == ObjectChange::Operation::Created ||
                change.operation == ObjectChange::Operation::Changed)
                writeRow(row, change, attributes);
        },
        change.row);
    if (change.isEdgePoint)
        json[kEdgePointKey] = true;
    if (!attributes.empty())
        json[kAttributesKey] = std::move(attributes);
    return util::jsonText(json);
}

void decodeChange(const std::string& text, ObjectChange& change) {
    try {
        const Json json = Json::parse(text);
        const Json attributes = json.value(kAttributesKey, Json::object());
        if (!attributes.is_object())
            refuseText("its attributes are not an object");
        change.isEdgePoint = json.value(kEdgePointKey, false);
        change.attributes.clear();
        for (const auto& [name, value] : attributes.items())
            change.attributes.push_back(name);
        const std::string word = json.at(kObjectKey).get<std::string>();
        bool isKnown = false;
        forEachKind([&](const auto& row) {
            using Row = std::decay_t<decltype(row)>;
            if (word != Table<Row>::kWord)
                return;
            isKnown = true;
            readRow<Row>(attributes, change);
        });
        if (!isKnown)
            refuseText("it is of an unknown kind");
    } catch (const nlohmann::json::exception& wrong) {
        refuseText(wrong.what());
    }
}

}  // namespace kelp::inventory
