#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string_view>

#include "database/inventory_state.h"
#include "rows/packed_values.h"

namespace kelp::inventory {

namespace {

/// Conditions on `name`: anywhere below the name ?2, and exactly one component below it.
const std::string kBelow = " AND substr(name, 1, length(?2) + 1) = ?2 || '/'";
const std::string kDirectlyBelow = kBelow + " AND instr(substr(name, length(?2) + 2), '/') = 0";

/// The ids in the statement's first column, in its order.
RowIds idsOf(Prepared& query) {
    RowIds ids;
    while (query.step())
        ids.append(query.integer(0));
    return ids;
}

RowIds idsOf(ReadPool::Lease& lease, const std::string& sql,
             std::initializer_list<std::int64_t> numbers) {
    Prepared& query = lease.prepared(sql);
    const ResetAtEnd reset(query);
    int place = 0;
    for (const std::int64_t number : numbers)
        query.bind(++place, number);
    return idsOf(query);
}

/// The ids that a statement with those numbers returns, in a snapshot taken now.
template <class State>
RowIds rowsOf(State& state, const std::string& sql,
              std::initializer_list<std::int64_t> numbers = {}) {
    return state.reading([&](auto& lease) { return idsOf(lease, sql, numbers); });
}

/// All ids of a table. Rows that were imported together have consecutive ids, and SQLite counts
/// rows faster than it lists them.
RowIds allOf(ReadPool::Lease& lease, const std::string& table) {
    {
        Prepared& query =
            lease.prepared("SELECT (SELECT min(id) FROM " + table + "), (SELECT max(id) FROM " +
                           table + "), (SELECT count(*) FROM " + table + ")");
        const ResetAtEnd reset(query);
        query.step();
        const IdRange range{query.integer(0), static_cast<std::uint64_t>(query.integer(2))};
        if (range.count == 0 || range.last() == query.integer(1))
            return RowIds(range);
    }
    return idsOf(lease, "SELECT id FROM " + table + " ORDER BY id", {});
}

/// A row that may contain others. The names of those begin with its name.
struct Container {
    std::int64_t parent = 0;  ///< element of a holder, port of a CTP; 0: the row does not exist
    std::string name;
};

Container containerOf(ReadPool::Lease& lease, const std::string& sql, std::int64_t id) {
    Prepared& query = lease.prepared(sql);
    const ResetAtEnd reset(query);
    query.bind(1, id);
    if (!query.step())
        return {};
    return {query.integer(0), std::string(query.text(1))};
}

/// The ids that a statement returns for a container: parent as ?1, name as ?2.
RowIds idsIn(ReadPool::Lease& lease, const Container& container, const std::string& sql) {
    Prepared& query = lease.prepared(sql);
    const ResetAtEnd reset(query);
    query.bind(1, container.parent);
    query.bindText(2, container.name);
    return idsOf(query);
}

Container holderOf(ReadPool::Lease& lease, std::int64_t id) {
    return containerOf(lease, "SELECT element_id, name FROM equipment_holder WHERE id = ?1", id);
}

/// A termination point as a container. A port has an empty name there.
Container tpOf(ReadPool::Lease& lease, std::int64_t id) {
    return containerOf(
        lease,
        "SELECT coalesce(port_id, id), iif(port_id IS NULL, '', name) FROM termination_point "
        "WHERE id = ?1",
        id);
}

const std::string& below(Depth depth) {
    return depth == Depth::Direct ? kDirectlyBelow : kBelow;
}

/// Return whether the CTP's name has exactly one layer more than the container's name, which is
/// empty for a port. The direction at the beginning of the name of a unidirectional CTP does not
/// count as a layer.
bool isDirectlyIn(const std::string& container, std::string_view name) {
    constexpr std::string_view kDirection = "/direction=";
    name.remove_prefix(container.size());
    if (container.empty() && name.substr(0, kDirection.size()) == kDirection)
        name.remove_prefix(std::min(name.size(), name.find('/', 1)));
    return name.find('/', 1) == std::string_view::npos;
}

bool isConnected(std::int64_t connectionState) {
    const auto state = static_cast<TpConnectionState>(connectionState);
    return state != TpConnectionState::NotApplicable && state != TpConnectionState::NotConnected;
}

/// Whether every port meets the filter.
bool isAny(const PortFilter& filter) {
    return filter.layers.empty() && filter.connectableRates.empty() && filter.withPtps &&
           filter.withFtps;
}

/// The first number of a statement's only row; nothing if it is NULL.
std::optional<std::int64_t> numberOf(ReadPool::Lease& lease, const std::string& sql,
                                     std::initializer_list<std::int64_t> numbers) {
    Prepared& query = lease.prepared(sql);
    const ResetAtEnd reset(query);
    int place = 0;
    for (const std::int64_t number : numbers)
        query.bind(++place, number);
    if (!query.step() || query.isNull(0))
        return std::nullopt;
    return query.integer(0);
}

/// The ports of an element, if their ids are consecutive. Counting them takes less than half the
/// time that listing them takes, and the check of the middle saves the counting in most other
/// cases.
std::optional<IdRange> rangeOfPorts(ReadPool::Lease& lease, std::int64_t elementId) {
    const std::string ofElement =
        " FROM termination_point WHERE port_id IS NULL AND element_id = ?1";
    const auto first = numberOf(lease, "SELECT min(id)" + ofElement, {elementId});
    const auto last = numberOf(lease, "SELECT max(id)" + ofElement, {elementId});
    if (!first || !last)
        return std::nullopt;
    const std::int64_t middle = *first + (*last - *first) / 2;
    if (!numberOf(lease, "SELECT id" + ofElement + " AND id = ?2", {elementId, middle}))
        return std::nullopt;
    const auto count = static_cast<std::uint64_t>(*last - *first) + 1;
    if (numberOf(lease, "SELECT count(*)" + ofElement, {elementId}) !=
        static_cast<std::int64_t>(count))
        return std::nullopt;
    return IdRange{*first, count};
}

bool isWanted(const Prepared& port, const PortFilter& filter) {
    return (filter.layers.empty() || hasLayerOf(port.packed(1), filter.layers)) &&
           (filter.connectableRates.empty() || hasRateOf(port.packed(2), filter.connectableRates));
}

/// The ports that meet the filter and the condition, in which ?1 is `id`.
RowIds portsWhere(ReadPool::Lease& lease, const std::string& condition, std::int64_t id,
                  const PortFilter& filter) {
    // without a filter the statement does not read the long columns
    const bool isFiltered = !filter.layers.empty() || !filter.connectableRates.empty();
    const std::string columns = isFiltered ? "id, transmissionParams, connectableRates" : "id";
    // "+" keeps SQLite from choosing an index with the kind, with which it would have to sort
    Prepared& query =
        lease.prepared("SELECT " + columns +
                       " FROM termination_point WHERE port_id IS NULL AND +kind BETWEEN ?2 AND ?3 "
                       "AND " +
                       condition);
    const ResetAtEnd reset(query);
    query.bind(1, id);
    query.bind(2, static_cast<std::int64_t>(filter.withPtps ? TpKind::Ptp : TpKind::Ftp));
    query.bind(3, static_cast<std::int64_t>(filter.withFtps ? TpKind::Ftp : TpKind::Ptp));
    RowIds ids;
    while (query.step()) {
        if (isWanted(query, filter))
            ids.append(query.integer(0));
    }
    return ids;
}

}  // namespace

RowIds Inventory::elements() {
    return state_->reading([](auto& lease) { return allOf(lease, "managed_element"); });
}

RowIds Inventory::holdersOf(std::int64_t elementId, Depth depth) {
    const std::string topOnly =
        depth == Depth::Direct ? " AND instr(substr(name, 2), '/') = 0" : "";
    return rowsOf(
        *state_, "SELECT id FROM equipment_holder WHERE element_id = ?1" + topOnly + " ORDER BY id",
        {elementId});
}

RowIds Inventory::holdersIn(std::int64_t holderId, Depth depth) {
    return state_->reading([&](auto& lease) {
        const Container holder = holderOf(lease, holderId);
        return idsIn(lease, holder,
                     "SELECT id FROM equipment_holder WHERE element_id = ?1" + below(depth) +
                         " ORDER BY id");
    });
}

RowIds Inventory::equipmentOf(std::int64_t elementId) {
    return rowsOf(*state_,
                  "SELECT equipment.id FROM equipment_holder JOIN equipment ON holder_id = "
                  "equipment_holder.id WHERE element_id = ?1 ORDER BY equipment.id",
                  {elementId});
}

RowIds Inventory::equipmentIn(std::int64_t holderId, Depth depth) {
    return state_->reading([&](auto& lease) {
        if (depth == Depth::Direct)
            return idsOf(lease, "SELECT id FROM equipment WHERE holder_id = ?1 ORDER BY id",
                         {holderId});
        const Container holder = holderOf(lease, holderId);
        return idsIn(
            lease, holder,
            "SELECT id FROM equipment WHERE holder_id IN (SELECT id FROM equipment_holder WHERE "
            "element_id = "
            "?1 AND (name = ?2 OR substr(name, 1, length(?2) + 1) = ?2 || '/')) ORDER BY id");
    });
}

RowIds Inventory::portsOf(std::int64_t elementId, const PortFilter& filter) {
    return state_->reading([&](auto& lease) {
        if (isAny(filter)) {
            if (const std::optional<IdRange> range = rangeOfPorts(lease, elementId))
                return RowIds(*range);
        }
        return portsWhere(lease, "element_id = ?1 ORDER BY id", elementId, filter);
    });
}

RowIds Inventory::allPorts() {
    return rowsOf(*state_, "SELECT id FROM termination_point WHERE port_id IS NULL ORDER BY id");
}

RowIds Inventory::portsOn(std::int64_t equipmentId) {
    return rowsOf(*state_, "SELECT id FROM termination_point WHERE equipment_id = ?1 ORDER BY id",
                  {equipmentId});
}

RowIds Inventory::tpsIn(std::int64_t tpId, const LayerRates& layers, Depth depth,
                        ContainedTps which) {
    return state_->reading([&](auto& lease) {
        const Container tp = tpOf(lease, tpId);
        Prepared& query = lease.prepared(
            "SELECT id, transmissionParams, connectionState, name FROM termination_point WHERE "
            "port_id = ?1" +
            kBelow + " ORDER BY id");
        const ResetAtEnd reset(query);
        query.bind(1, tp.parent);
        query.bindText(2, tp.name);
        RowIds ids;
        while (query.step()) {
            if ((depth == Depth::All || isDirectlyIn(tp.name, query.text(3))) &&
                (layers.empty() || hasLayerOf(query.packed(1), layers)) &&
                (which == ContainedTps::All || isConnected(query.integer(2))))
                ids.append(query.integer(0));
        }
        return ids;
    });
}

RowIds Inventory::tpsAround(std::int64_t tpId) {
    return state_->reading([&](auto& lease) {
        const Container tp = tpOf(lease, tpId);
        if (tp.name.empty())
            return RowIds();
        RowIds ids = idsIn(lease, tp,
                           "SELECT id FROM termination_point WHERE port_id = ?1 AND substr(?2, 1, "
                           "length(name) + 1) = name "
                           "|| '/' ORDER BY length(name) DESC");
        ids.append(tp.parent);
        return ids;
    });
}

RowIds Inventory::links() {
    return state_->reading([](auto& lease) { return allOf(lease, "topological_link"); });
}

RowIds Inventory::linksOf(std::int64_t elementId) {
    return rowsOf(*state_,
                  "SELECT id FROM topological_link WHERE a_element_id = ?1 UNION SELECT id FROM "
                  "topological_link WHERE z_element_id = ?1 ORDER BY 1",
                  {elementId});
}

RowIds Inventory::linksInside(std::int64_t subnetworkId) {
    // SQLite runs a cross join in the order in which it is written
    return rowsOf(
        *state_,
        "SELECT link.id FROM subnetwork_element AS inside CROSS JOIN topological_link AS link ON "
        "a_element_id = inside.element_id WHERE inside.subnetwork_id = ?1 AND EXISTS (SELECT 1 "
        "FROM "
        "subnetwork_element WHERE subnetwork_id = ?1 AND element_id = z_element_id) ORDER BY "
        "link.id",
        {subnetworkId});
}

RowIds Inventory::topLevelLinks() {
    return rowsOf(
        *state_,
        "SELECT id FROM topological_link WHERE NOT EXISTS (SELECT 1 FROM subnetwork_element AS a "
        "CROSS "
        "JOIN subnetwork_element AS z ON z.subnetwork_id = a.subnetwork_id WHERE a.element_id = "
        "a_element_id AND z.element_id = z_element_id) ORDER BY id");
}

RowIds Inventory::subnetworks() {
    return state_->reading([](auto& lease) { return allOf(lease, "subnetwork"); });
}

RowIds Inventory::elementsOf(std::int64_t subnetworkId) {
    return rowsOf(
        *state_,
        "SELECT element_id FROM subnetwork_element WHERE subnetwork_id = ?1 ORDER BY element_id",
        {subnetworkId});
}

RowIds Inventory::subnetworksOf(std::int64_t elementId) {
    return rowsOf(*state_,
                  "SELECT subnetwork_id FROM subnetwork_element WHERE element_id = ?1 ORDER BY "
                  "subnetwork_id",
                  {elementId});
}

RowIds Inventory::edgePointsOf(std::int64_t subnetworkId, const PortFilter& filter) {
    return state_->reading([&](auto& lease) {
        return portsWhere(
            lease,
            "edgePoint = 1 AND element_id IN (SELECT element_id FROM subnetwork_element WHERE "
            "subnetwork_id = ?1) ORDER BY id",
            subnetworkId, filter);
    });
}

}  // namespace kelp::inventory
