#include "row_reader.h"

#include <type_traits>

#include "packed_values.h"
#include "table.h"
#include "words.h"

namespace kelp::inventory {

namespace {

template <class Row>
std::string selection(Detail detail) {
    std::string sql = "SELECT id";
    for (const char* const name : Table<Row>::kNameColumns)
        sql += std::string(", ") + name;
    if (detail != Detail::Name) {
        for (const std::string& name : attributeNames<Row>())
            sql += ", " + name;
    }
    return sql + " FROM " + Table<Row>::kName + " WHERE id BETWEEN ?1 AND ?2 ORDER BY id";
}

void take(const Prepared& row, int column, std::string& text) {
    text = row.text(column);
}
void take(const Prepared& row, int column, bool& flag) {
    flag = row.integer(column) != 0;
}
void take(const Prepared& row, int column, LayerRate& rate) {
    rate = static_cast<LayerRate>(row.integer(column));
}
template <class Value>
void take(const Prepared& row, int column, Value& value) {
    if constexpr (std::is_enum_v<Value>) {
        const std::int64_t number = row.integer(column);
        if (number < 0 || number >= static_cast<std::int64_t>(kWordsOf<Value>.size()))
            throw InventoryFailure("a row of the inventory is damaged");
        value = static_cast<Value>(number);
    } else {
        unpack(row.packed(column), value);
    }
}

}  // namespace

template <class Row>
RowReader<Row>::RowReader(Connection& connection, Detail detail)
    : names_(connection), detail_(detail), statement_(connection.prepared(selection<Row>(detail))) {}

template <class Row>
void RowReader<Row>::read(IdRange range, std::vector<Row>& rows) {
    const ResetAtEnd reset(statement_);
    begin(range);
    while (statement_.step())
        takeRow(rows.emplace_back());
}

template <class Row>
void RowReader<Row>::begin(IdRange range) {
    statement_.bind(1, range.first);
    statement_.bind(2, range.last());
}

template <class Row>
void RowReader<Row>::takeRow(Row& row) {
    row.id = statement_.integer(0);
    column_ = 1;
    takeName(row);
    if (detail_ != Detail::Name)
        Table<Row>::visit(row, [this](const char*, auto& value) { take(statement_, column_++, value); });
}

template <>
void RowReader<ManagedElement>::takeName(ManagedElement& row) {
    row.name = statement_.text(column_++);
    if (detail_ == Detail::All)
        names_.nameSubnetworks(row.id, row.subnetworks);
}

template <>
void RowReader<EquipmentHolder>::takeName(EquipmentHolder& row) {
    names_.nameElement(statement_.integer(column_++), row.managedElement);
    row.name = statement_.text(column_++);
}

template <>
void RowReader<Equipment>::takeName(Equipment& row) {
    names_.nameHolder(statement_.integer(column_++), row.managedElement, row.holder);
    row.name = statement_.text(column_++);
}

template <>
void RowReader<TerminationPoint>::takeName(TerminationPoint& row) {
    const std::int64_t element = statement_.integer(column_++);
    const std::int64_t port = statement_.integer(column_++);
    const auto kind = static_cast<TpKind>(statement_.integer(column_++));
    if (port == 0) {
        names_.nameElement(element, row.name.managedElement);
        row.name.portKind = kind;
        row.name.port = statement_.text(column_++);
        row.name.ctp.clear();
    } else {
        names_.namePort(port, row.name);
        row.name.ctp = statement_.text(column_++);
    }
    const std::int64_t equipment = detail_ == Detail::All ? statement_.integer(column_) : 0;
    ++column_;
    if (equipment != 0) {
        names_.nameEquipment(equipment, row.supportingEquipmentHolder, row.supportingEquipment);
    } else {
        row.supportingEquipmentHolder.clear();
        row.supportingEquipment.clear();
    }
}

template <>
void RowReader<TopologicalLink>::takeName(TopologicalLink& row) {
    row.name = statement_.text(column_++);
    names_.nameTp(statement_.integer(column_++), row.aEnd);
    names_.nameTp(statement_.integer(column_++), row.zEnd);
}

template <>
void RowReader<Subnetwork>::takeName(Subnetwork& row) {
    row.name = statement_.text(column_++);
}

template <>
void RowReader<EmsAttributes>::takeName(EmsAttributes&) {}

template class RowReader<ManagedElement>;
template class RowReader<EquipmentHolder>;
template class RowReader<Equipment>;
template class RowReader<TerminationPoint>;
template class RowReader<TopologicalLink>;
template class RowReader<Subnetwork>;
template class RowReader<EmsAttributes>;

}  // namespace kelp::inventory
