#include "rows/row_reader.h"

#include <type_traits>

#include "database/table.h"
#include "names/words.h"
#include "rows/packed_values.h"

namespace kelp::inventory {

namespace {

/// Visit the attributes that are read at that level of detail.
template <class Row, class Visitor>
void visitRead(Row& row, Detail detail, Visitor&& attribute) {
    if (detail == Detail::Name)
        return;
    if constexpr (requires { Table<Row>::visitStandard(row, attribute); }) {
        if (detail == Detail::Standard)
            return Table<Row>::visitStandard(row, attribute);
    }
    Table<Row>::visit(row, attribute);
}

/// The statement that passes each row to pass_row(), in the order of the ids.
template <class Row>
std::string selection(Detail detail) {
    std::string columns = "id";
    for (const char* const name : Table<Row>::kNameColumns)
        columns += std::string(", ") + name;
    Row row;
    visitRead(row, detail,
              [&](const char* name, const auto&) { columns += std::string(", ") + name; });
    return std::string("SELECT NULL FROM ") + Table<Row>::kName +
           " WHERE id BETWEEN ?1 AND ?2 AND pass_row(?3, " + columns + ") ORDER BY id";
}

void take(Columns& columns, std::string& text) {
    text = columns.text();
}
void take(Columns& columns, bool& flag) {
    flag = columns.integer() != 0;
}
void take(Columns& columns, LayerRate& rate) {
    rate = static_cast<LayerRate>(columns.integer());
}
template <class Value>
void take(Columns& columns, Value& value) {
    if constexpr (std::is_enum_v<Value>) {
        const std::int64_t number = columns.integer();
        if (number < 0 || number >= static_cast<std::int64_t>(kWordsOf<Value>.size()))
            throw InventoryFailure("a row of the inventory is damaged");
        value = static_cast<Value>(number);
    } else {
        unpack(columns.packed(), value);
    }
}

}  // namespace

template <class Row>
RowReader<Row>::RowReader(Connection& connection, Detail detail)
    : names_(connection),
      detail_(detail),
      statement_(connection.prepared(selection<Row>(detail))) {}

template <class Row>
void RowReader<Row>::takeRow(Columns& columns, Row& row) {
    row.id = columns.integer();
    takeName(columns, row);
    visitRead(row, detail_, [&](const char*, auto& value) { take(columns, value); });
}

template <>
void RowReader<ManagedElement>::takeName(Columns& columns, ManagedElement& row) {
    row.name = columns.text();
    if (detail_ == Detail::All)
        names_.nameSubnetworks(row.id, row.subnetworks);
}

template <>
void RowReader<EquipmentHolder>::takeName(Columns& columns, EquipmentHolder& row) {
    names_.nameElement(columns.integer(), row.managedElement);
    row.name = columns.text();
}

template <>
void RowReader<Equipment>::takeName(Columns& columns, Equipment& row) {
    names_.nameHolder(columns.integer(), row.managedElement, row.holder);
    row.name = columns.text();
}

template <>
void RowReader<TerminationPoint>::takeName(Columns& columns, TerminationPoint& row) {
    const std::int64_t element = columns.integer();
    const std::int64_t port = columns.integer();
    const auto kind = static_cast<TpKind>(columns.integer());
    if (port == 0) {
        names_.nameElement(element, row.name.managedElement);
        row.name.portKind = kind;
        row.name.port = columns.text();
        row.name.ctp.clear();
    } else {
        names_.namePort(port, row.name);
        row.name.ctp = columns.text();
    }
    const std::int64_t equipment = columns.integer();
    if (equipment != 0 && detail_ == Detail::All) {
        names_.nameEquipment(equipment, row.supportingEquipmentHolder, row.supportingEquipment);
    } else {
        row.supportingEquipmentHolder.clear();
        row.supportingEquipment.clear();
    }
}

template <>
void RowReader<TopologicalLink>::takeName(Columns& columns, TopologicalLink& row) {
    row.name = columns.text();
    names_.nameTp(columns.integer(), row.aEnd);
    names_.nameTp(columns.integer(), row.zEnd);
}

template <>
void RowReader<Subnetwork>::takeName(Columns& columns, Subnetwork& row) {
    row.name = columns.text();
}

template <>
void RowReader<EmsAttributes>::takeName(Columns&, EmsAttributes&) {}

template class RowReader<ManagedElement>;
template class RowReader<EquipmentHolder>;
template class RowReader<Equipment>;
template class RowReader<TerminationPoint>;
template class RowReader<TopologicalLink>;
template class RowReader<Subnetwork>;
template class RowReader<EmsAttributes>;

}  // namespace kelp::inventory
