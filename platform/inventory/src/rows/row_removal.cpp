#include "rows/row_removal.h"

#include <kelp/inventory/object_name.h>

#include <string>
#include <type_traits>

#include "database/table.h"
#include "rows/row_difference.h"
#include "rows/row_reader.h"

namespace kelp::inventory {

namespace {

/// Call `body` with a default-constructed row of each kind but the EMS: what contains others last.
template <class Body>
void forEachKindFromInside(Body&& body) {
    body(TopologicalLink());
    body(TerminationPoint());
    body(Equipment());
    body(EquipmentHolder());
    body(ManagedElement());
    body(Subnetwork());
}

/// The row ids of a kind that `isWanted` accepts.
template <class Row, class IsWanted>
RowIds idsOf(Connection& connection, const IsWanted& isWanted) {
    RowIds ids;
    Prepared& query =
        connection.prepared(std::string("SELECT id FROM ") + Table<Row>::kName + " ORDER BY id");
    const ResetAtEnd reset(query);
    while (query.step()) {
        if (const std::int64_t id = query.integer(0); isWanted(id))
            ids.append(id);
    }
    return ids;
}

template <class Row>
void recordDeletionsOf(Connection& connection, Outbox& outbox, const RowIds& ids) {
    // a point's flag as an edge point is not part of its name
    constexpr Detail kDetail =
        std::is_same_v<Row, TerminationPoint> ? Detail::Standard : Detail::Name;
    RowReader<Row> reader(connection, kDetail);
    Row room;
    for (const IdRange& range : ids.ranges())
        reader.readEach(range, room, [&](const Row& row) {
            bool isEdgePoint = false;
            if constexpr (std::is_same_v<Row, TerminationPoint>) {
                if (!row.name.ctp.empty())
                    return;
                isEdgePoint = row.edgePoint;
            }
            NameValues name;
            eachComponent(row, [&](const char* component, const std::string& value) {
                name.push_back({component, value});
            });
            outbox.deleted(Table<Row>::kKind, row.id, name, isEdgePoint);
        });
}

template <class Row>
void removeRows(Connection& connection, const RowIds& ids) {
    for (const IdRange& range : ids.ranges()) {
        const auto removeFrom = [&](const std::string& table, const std::string& column) {
            Prepared& removal = connection.prepared("DELETE FROM " + table + " WHERE " + column +
                                                    " BETWEEN ?1 AND ?2");
            removal.bind(1, range.first);
            removal.bind(2, range.last());
            removal.execute();
        };
        if constexpr (std::is_same_v<Row, ManagedElement>)
            removeFrom("subnetwork_element", "element_id");
        if constexpr (std::is_same_v<Row, Subnetwork>)
            removeFrom("subnetwork_element", "subnetwork_id");
        if constexpr (kIsEncoded<Row>)
            removeFrom(encodedTable<Row>(), "id");
        removeFrom(Table<Row>::kName, "id");
    }
}

/// The attributes of the EMS are removed, not the EMS.
void resetEms(Connection& connection, Outbox& outbox) {
    std::vector<EmsAttributes> rows;
    RowReader<EmsAttributes>(connection, Detail::All).read({EmsAttributes().id, 1}, rows);
    if (rows.empty())
        return;
    outbox.changed(ObjectKind::Ems, rows.front().id, differences(rows.front(), EmsAttributes()));
    connection.prepared("DELETE FROM ems").execute();
}

}  // namespace

void recordDeletions(Connection& connection, Outbox& outbox) {
    forEachKindFromInside([&](const auto& kind) {
        using Row = std::decay_t<decltype(kind)>;
        recordDeletionsOf<Row>(connection, outbox,
                               idsOf<Row>(connection, [](std::int64_t) { return true; }));
    });
    resetEms(connection, outbox);
}

void removeOthers(Connection& connection, Outbox& outbox,
                  const std::function<bool(ObjectKind, std::int64_t)>& isKept) {
    forEachKindFromInside([&](const auto& kind) {
        using Row = std::decay_t<decltype(kind)>;
        const RowIds ids =
            idsOf<Row>(connection, [&](std::int64_t id) { return !isKept(Table<Row>::kKind, id); });
        if (outbox.isRecording())
            recordDeletionsOf<Row>(connection, outbox, ids);
        removeRows<Row>(connection, ids);
    });
    if (!isKept(ObjectKind::Ems, EmsAttributes().id))
        resetEms(connection, outbox);
}

}  // namespace kelp::inventory
