#include "files/record_names.h"

#include <kelp/util/trace_log.h>

#include <set>
#include <utility>

#include "names/name_rules.h"

namespace kelp::inventory {

namespace {

using Rule = std::string (*)(std::string_view);
enum class Need { Must, May };

/// Read and check the value of a name component. An optional component that is missing gives an
/// empty text.
bool takeComponent(const Record& record, const std::string& key, Rule problemOf, Need need,
                   std::string& value, Problems& problems) {
    CellValue room;
    const Json* const found = record.find(key, CellForm::Text, room);
    value.clear();
    std::string problem = found == nullptr ? "" : assign(*found, value);
    if (problem.empty() && value.empty() && need == Need::May)
        return true;
    if (problem.empty())
        problem = found == nullptr ? "is missing" : problemOf(value);
    if (problem.empty())
        return true;
    problems.add(record.place.line, key, problem);
    return false;
}

/// Read the name of a termination point. Each key is `prefix` and the component's name.
bool takeTp(const Record& record, const std::string& prefix, TpName& name, Problems& problems) {
    std::string ftp;
    const bool areGood =
        takeComponent(record, prefix + "ManagedElement", problemOfName, Need::Must,
                      name.managedElement, problems) &&
        takeComponent(record, prefix + "PTP", problemOfName, Need::May, name.port, problems) &&
        takeComponent(record, prefix + "FTP", problemOfName, Need::May, ftp, problems) &&
        takeComponent(record, prefix + "CTP", problemOfCtp, Need::May, name.ctp, problems);
    if (!areGood)
        return false;
    if (name.port.empty() == ftp.empty()) {
        problems.add(record.place.line, prefix + "PTP",
                     ftp.empty() ? "neither this nor " + prefix + "FTP is given"
                                 : "both this and " + prefix + "FTP are given");
        return false;
    }
    name.portKind = ftp.empty() ? TpKind::Ptp : TpKind::Ftp;
    if (!ftp.empty())
        name.port = ftp;
    return true;
}

bool takeSubnetworks(const Record& record, std::vector<std::string>& names, Problems& problems) {
    CellValue room;
    const Json* const found = record.find(kSubnetworksKey, CellForm::List, room);
    std::string problem =
        found == nullptr ? ""
                         : assign(*found, names);  // room.problem is not needed: assign() rejects
                                                   // the objects in which a key could be repeated
    std::set<std::string> before;
    for (const std::string& name : names) {
        if (problem.empty())
            problem = problemOfName(name);
        if (problem.empty() && !before.insert(name).second)
            problem = shown(name) + " appears twice";
    }
    if (!problem.empty())
        problems.add(record.place.line, kSubnetworksKey, problem);
    return problem.empty();
}

std::string quoted(const std::string& name) {
    return "\"" + util::escaped(name, 200) + "\"";
}

MissingRow noElement(const std::string& key, const std::string& name) {
    return {key, "there is no managed element " + quoted(name)};
}
MissingRow noHolder(const std::string& key, const std::string& holder, const std::string& element) {
    return {key, "there is no equipment holder " + quoted(holder) + " in " + quoted(element)};
}

std::optional<MissingRow> findEnd(NameIndex& index, const TpName& name, const std::string& prefix,
                                  std::int64_t& id) {
    id = index.tpId(name);
    if (id != 0)
        return std::nullopt;
    const std::int64_t element = index.elementId(name.managedElement);
    if (element == 0)
        return noElement(prefix + "ManagedElement", name.managedElement);
    const std::string kind = name.portKind == TpKind::Ftp ? "FTP" : "PTP";
    const std::string where = " in " + quoted(name.managedElement);
    if (index.portId(element, name.portKind, name.port) == 0)
        return MissingRow{prefix + kind, "there is no " + kind + " " + quoted(name.port) + where};
    return MissingRow{prefix + "CTP", "there is no CTP " + quoted(name.ctp) + " in " + kind + " " +
                                          quoted(name.port) + where};
}

std::optional<MissingRow> findEquipment(NameIndex& index, const TerminationPoint& row,
                                        References& found) {
    if (row.supportingEquipmentHolder.empty())
        return std::nullopt;
    const std::int64_t holder = index.holderId(found.element, row.supportingEquipmentHolder);
    if (holder == 0)
        return noHolder("supportingEquipmentHolder", row.supportingEquipmentHolder,
                        row.name.managedElement);
    found.equipment = index.equipmentId(holder, row.supportingEquipment);
    if (found.equipment == 0)
        return MissingRow{"supportingEquipment", "there is no equipment " +
                                                     quoted(row.supportingEquipment) + " in " +
                                                     quoted(row.supportingEquipmentHolder)};
    return std::nullopt;
}

}  // namespace

bool takeName(const Record& record, ManagedElement& row, Problems& problems) {
    return takeComponent(record, "ManagedElement", problemOfName, Need::Must, row.name, problems) &&
           takeSubnetworks(record, row.subnetworks, problems);
}

bool takeName(const Record& record, EquipmentHolder& row, Problems& problems) {
    return takeComponent(record, "ManagedElement", problemOfName, Need::Must, row.managedElement,
                         problems) &&
           takeComponent(record, "EquipmentHolder", problemOfHolder, Need::Must, row.name,
                         problems);
}

bool takeName(const Record& record, Equipment& row, Problems& problems) {
    return takeComponent(record, "ManagedElement", problemOfName, Need::Must, row.managedElement,
                         problems) &&
           takeComponent(record, "EquipmentHolder", problemOfHolder, Need::Must, row.holder,
                         problems) &&
           takeComponent(record, "Equipment", problemOfName, Need::Must, row.name, problems);
}

bool takeName(const Record& record, TerminationPoint& row, Problems& problems) {
    if (!takeTp(record, "", row.name, problems) ||
        !takeComponent(record, "supportingEquipmentHolder", problemOfHolder, Need::May,
                       row.supportingEquipmentHolder, problems) ||
        !takeComponent(record, "supportingEquipment", problemOfName, Need::May,
                       row.supportingEquipment, problems))
        return false;
    if (row.supportingEquipmentHolder.empty() != row.supportingEquipment.empty()) {
        problems.add(record.place.line, "supportingEquipment",
                     "this and supportingEquipmentHolder are given together or not at all");
        return false;
    }
    if (!row.supportingEquipment.empty() && !row.name.ctp.empty()) {
        problems.add(record.place.line, "supportingEquipment", "is for ports, not for a CTP");
        return false;
    }
    return true;
}

bool takeName(const Record& record, TopologicalLink& row, Problems& problems) {
    return takeComponent(record, "TopologicalLink", problemOfName, Need::Must, row.name,
                         problems) &&
           takeTp(record, "aEnd", row.aEnd, problems) && takeTp(record, "zEnd", row.zEnd, problems);
}

bool takeName(const Record& record, Subnetwork& row, Problems& problems) {
    return takeComponent(record, "MultiLayerSubnetwork", problemOfName, Need::Must, row.name,
                         problems);
}

bool takeName(const Record&, EmsAttributes&, Problems&) {
    return true;
}

std::optional<MissingRow> identify(NameIndex& index, const ManagedElement& row, Identity& found) {
    found.id = index.elementId(row.name);
    std::vector<std::int64_t> subnetworks;
    for (const std::string& name : row.subnetworks) {
        subnetworks.push_back(index.subnetworkId(name));
        if (subnetworks.back() == 0)
            return MissingRow{kSubnetworksKey, "there is no subnetwork " + quoted(name)};
    }
    found.references.subnetworks = std::move(subnetworks);
    return std::nullopt;
}

std::optional<MissingRow> identify(NameIndex& index, const EquipmentHolder& row, Identity& found) {
    found.references.element = index.elementId(row.managedElement);
    if (found.references.element == 0)
        return noElement("ManagedElement", row.managedElement);
    found.id = index.holderId(found.references.element, row.name);
    return std::nullopt;
}

std::optional<MissingRow> identify(NameIndex& index, const Equipment& row, Identity& found) {
    const std::int64_t element = index.elementId(row.managedElement);
    if (element == 0)
        return noElement("ManagedElement", row.managedElement);
    found.references.holder = index.holderId(element, row.holder);
    if (found.references.holder == 0)
        return noHolder("EquipmentHolder", row.holder, row.managedElement);
    found.id = index.equipmentId(found.references.holder, row.name);
    return std::nullopt;
}

std::optional<MissingRow> identify(NameIndex& index, const TerminationPoint& row, Identity& found) {
    References& references = found.references;
    references.element = index.elementId(row.name.managedElement);
    if (references.element == 0)
        return noElement("ManagedElement", row.name.managedElement);
    const std::int64_t port = index.portId(references.element, row.name.portKind, row.name.port);
    if (row.name.ctp.empty()) {
        found.id = port;
        return findEquipment(index, row, references);
    }
    references.port = port;
    if (port == 0)
        return findEnd(index, row.name, "", found.id);
    found.id = index.ctpId(port, row.name.ctp);
    return std::nullopt;
}

std::optional<MissingRow> identify(NameIndex& index, const TopologicalLink& row, Identity& found) {
    found.id = index.linkId(row.name);
    if (auto missing = findEnd(index, row.aEnd, "aEnd", found.references.aEnd))
        return missing;
    return findEnd(index, row.zEnd, "zEnd", found.references.zEnd);
}

std::optional<MissingRow> identify(NameIndex& index, const Subnetwork& row, Identity& found) {
    found.id = index.subnetworkId(row.name);
    return std::nullopt;
}

std::optional<MissingRow> identify(NameIndex& index, const EmsAttributes&, Identity& found) {
    found.id = index.emsId();
    return std::nullopt;
}

const std::string& ownName(const ManagedElement& row) {
    return row.name;
}
const std::string& ownName(const EquipmentHolder& row) {
    return row.name;
}
const std::string& ownName(const Equipment& row) {
    return row.name;
}
const std::string& ownName(const TerminationPoint& row) {
    return row.name.ctp.empty() ? row.name.port : row.name.ctp;
}
const std::string& ownName(const TopologicalLink& row) {
    return row.name;
}
const std::string& ownName(const Subnetwork& row) {
    return row.name;
}
const std::string& ownName(const EmsAttributes&) {
    static const std::string none;
    return none;
}

}  // namespace kelp::inventory
