#include "names/name_index.h"

namespace kelp::inventory {

std::int64_t NameIndex::idOf(const char* sql, std::int64_t parentId, const std::string& name) {
    Prepared& statement = connection_.prepared(sql);
    const ResetAtEnd reset(statement);
    statement.bindText(1, name);
    if (parentId != 0)
        statement.bind(2, parentId);
    return statement.step() ? statement.integer(0) : 0;
}

std::int64_t NameIndex::elementId(const std::string& name) {
    if (elementByName_.id == 0 || elementByName_.name != name)
        elementByName_ = {0, 0, name,
                          idOf("SELECT id FROM managed_element WHERE name = ?1", 0, name)};
    return accepted(ObjectKind::ManagedElement, elementByName_.id);
}

std::int64_t NameIndex::holderId(std::int64_t elementId, const std::string& name) {
    if (holderByName_.id == 0 || holderByName_.parentId != elementId || holderByName_.name != name)
        holderByName_ = {elementId, 0, name,
                         idOf("SELECT id FROM equipment_holder WHERE element_id = ?2 AND name = ?1",
                              elementId, name)};
    return accepted(ObjectKind::EquipmentHolder, holderByName_.id);
}

std::int64_t NameIndex::equipmentId(std::int64_t holderId, const std::string& name) {
    if (equipmentByName_.id == 0 || equipmentByName_.parentId != holderId ||
        equipmentByName_.name != name)
        equipmentByName_ = {
            holderId, 0, name,
            idOf("SELECT id FROM equipment WHERE holder_id = ?2 AND name = ?1", holderId, name)};
    return accepted(ObjectKind::Equipment, equipmentByName_.id);
}

std::int64_t NameIndex::portId(std::int64_t elementId, TpKind kind, const std::string& name) {
    const int number = static_cast<int>(kind);
    if (portByName_.id != 0 && portByName_.parentId == elementId && portByName_.kind == number &&
        portByName_.name == name)
        return accepted(ObjectKind::TerminationPoint, portByName_.id);
    Prepared& statement = connection_.prepared(
        "SELECT id FROM termination_point WHERE port_id IS NULL AND element_id = ?1 AND kind = ?2 "
        "AND name = "
        "?3");
    const ResetAtEnd reset(statement);
    statement.bind(1, elementId);
    statement.bind(2, number);
    statement.bindText(3, name);
    portByName_ = {elementId, number, name, statement.step() ? statement.integer(0) : 0};
    return accepted(ObjectKind::TerminationPoint, portByName_.id);
}

std::int64_t NameIndex::ctpId(std::int64_t portId, const std::string& name) {
    return accepted(
        ObjectKind::TerminationPoint,
        idOf("SELECT id FROM termination_point WHERE port_id = ?2 AND name = ?1", portId, name));
}

std::int64_t NameIndex::linkId(const std::string& name) {
    return accepted(ObjectKind::TopologicalLink,
                    idOf("SELECT id FROM topological_link WHERE name = ?1", 0, name));
}

std::int64_t NameIndex::tpId(const TpName& name) {
    const std::int64_t element = elementId(name.managedElement);
    const std::int64_t port = element == 0 ? 0 : portId(element, name.portKind, name.port);
    return port == 0 || name.ctp.empty() ? port : ctpId(port, name.ctp);
}

std::int64_t NameIndex::subnetworkId(const std::string& name) {
    if (subnetworkByName_.id == 0 || subnetworkByName_.name != name)
        subnetworkByName_ = {0, 0, name,
                             idOf("SELECT id FROM subnetwork WHERE name = ?1", 0, name)};
    return accepted(ObjectKind::Subnetwork, subnetworkByName_.id);
}

std::int64_t NameIndex::emsId() {
    Prepared& statement = connection_.prepared("SELECT id FROM ems");
    const ResetAtEnd reset(statement);
    return statement.step() ? statement.integer(0) : 0;
}

void NameIndex::nameOnly(const char* sql, std::int64_t id, LastById& last, std::string& name) {
    if (last.id != id) {
        Prepared& statement = connection_.prepared(sql);
        const ResetAtEnd reset(statement);
        statement.bind(1, id);
        last = {id, "", statement.step() ? std::string(statement.text(0)) : ""};
    }
    name = last.name;
}

void NameIndex::nameElement(std::int64_t id, std::string& name) {
    nameOnly("SELECT name FROM managed_element WHERE id = ?1", id, element_, name);
}

void NameIndex::nameSubnetwork(std::int64_t id, std::string& name) {
    nameOnly("SELECT name FROM subnetwork WHERE id = ?1", id, subnetwork_, name);
}

void NameIndex::nameHolder(std::int64_t id, std::string& element, std::string& holder) {
    if (holder_.id != id) {
        Prepared& statement =
            connection_.prepared("SELECT element_id, name FROM equipment_holder WHERE id = ?1");
        const ResetAtEnd reset(statement);
        statement.bind(1, id);
        holder_ = {id, "", ""};
        if (statement.step()) {
            nameElement(statement.integer(0), holder_.parent);
            holder_.name = statement.text(1);
        }
    }
    element = holder_.parent;
    holder = holder_.name;
}

void NameIndex::nameEquipment(std::int64_t id, std::string& holder, std::string& equipment) {
    if (equipment_.id != id) {
        Prepared& statement = connection_.prepared(
            "SELECT equipment_holder.name, equipment.name FROM equipment JOIN equipment_holder ON "
            "equipment_holder.id = holder_id WHERE equipment.id = ?1");
        const ResetAtEnd reset(statement);
        statement.bind(1, id);
        equipment_ = {id, "", ""};
        if (statement.step()) {
            equipment_.parent = statement.text(0);
            equipment_.name = statement.text(1);
        }
    }
    holder = equipment_.parent;
    equipment = equipment_.name;
}

void NameIndex::namePort(std::int64_t id, TpName& name) {
    if (lastPortId_ != id) {
        Prepared& statement = connection_.prepared(
            "SELECT element_id, kind, name FROM termination_point WHERE id = ?1");
        const ResetAtEnd reset(statement);
        statement.bind(1, id);
        lastPort_ = {};
        if (statement.step()) {
            nameElement(statement.integer(0), lastPort_.managedElement);
            lastPort_.portKind = static_cast<TpKind>(statement.integer(1));
            lastPort_.port = statement.text(2);
        }
        lastPortId_ = id;
    }
    name.managedElement = lastPort_.managedElement;
    name.portKind = lastPort_.portKind;
    name.port = lastPort_.port;
}

void NameIndex::nameTp(std::int64_t id, TpName& name) {
    Prepared& statement =
        connection_.prepared("SELECT port_id, name FROM termination_point WHERE id = ?1");
    const ResetAtEnd reset(statement);
    statement.bind(1, id);
    name = {};
    if (!statement.step())
        return;
    const std::int64_t port = statement.integer(0);
    if (port != 0)
        name.ctp = statement.text(1);
    namePort(port == 0 ? id : port, name);
}

void NameIndex::nameSubnetworks(std::int64_t elementId, std::vector<std::string>& names) {
    Prepared& statement = connection_.prepared(
        "SELECT subnetwork_id FROM subnetwork_element WHERE element_id = ?1 ORDER BY "
        "subnetwork_id");
    const ResetAtEnd reset(statement);
    statement.bind(1, elementId);
    names.clear();
    while (statement.step())
        nameSubnetwork(statement.integer(0), names.emplace_back());
}

}  // namespace kelp::inventory
