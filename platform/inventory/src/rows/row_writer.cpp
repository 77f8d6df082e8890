#include "rows/row_writer.h"

#include <string>
#include <type_traits>
#include <utility>

#include "database/table.h"
#include "encoded/encoded_form.h"
#include "rows/packed_values.h"

namespace kelp::inventory {

namespace {

/// Binds the columns of a row one after the other.
class Binder {
  public:
    Binder(Prepared& statement, int before) : statement_(statement), place_(before) {}

    void operator()(const char*, const std::string& text) { statement_.bindText(++place_, text); }
    template <class Value>
    void operator()(const char*, const Value& value) {
        if constexpr (std::is_enum_v<Value> || std::is_arithmetic_v<Value>)
            statement_.bind(++place_, static_cast<std::int64_t>(value));
        else
            statement_.bindPacked(++place_, packed(value));
    }
    void reference(std::int64_t id) {
        if (id == 0)
            statement_.bindNull(++place_);
        else
            statement_.bind(++place_, id);
    }
    void text(const std::string& value) { statement_.bindText(++place_, value); }
    void number(std::int64_t value) { statement_.bind(++place_, value); }

  private:
    Prepared& statement_;
    int place_;
};

// Bind the columns of kNameColumns.
void bindName(Binder& bind, const ManagedElement& row, const References&) {
    bind.text(row.name);
}
void bindName(Binder& bind, const EquipmentHolder& row, const References& references) {
    bind.reference(references.element);
    bind.text(row.name);
}
void bindName(Binder& bind, const Equipment& row, const References& references) {
    bind.reference(references.holder);
    bind.text(row.name);
}
void bindName(Binder& bind, const TerminationPoint& row, const References& references) {
    bind.reference(references.element);
    bind.reference(references.port);
    bind.number(static_cast<std::int64_t>(row.name.kind()));
    bind.text(row.name.ctp.empty() ? row.name.port : row.name.ctp);
    bind.reference(references.equipment);
}
void bindName(Binder& bind, const TopologicalLink& row, const References& references) {
    bind.text(row.name);
    bind.reference(references.aEnd);
    bind.reference(references.zEnd);
}

void bindName(Binder& bind, const Subnetwork& row, const References&) {
    bind.text(row.name);
}
void bindName(Binder&, const EmsAttributes&, const References&) {}

template <class Row>
constexpr int kNamed = static_cast<int>(Table<Row>::kNameColumns.size());

/// The INSERT statement. Its places are the columns of the name, then the attributes.
template <class Row>
std::string insertion() {
    std::vector<std::string> names(Table<Row>::kNameColumns.begin(),
                                   Table<Row>::kNameColumns.end());
    for (std::string& name : attributeNames<Row>())
        names.push_back(std::move(name));
    std::string columns;
    std::string places;
    for (std::size_t i = 0; i < names.size(); ++i) {
        columns += (i == 0 ? "" : ", ") + names[i];
        places += (i == 0 ? "?" : ", ?") + std::to_string(i + 1);
    }
    return std::string("INSERT INTO ") + Table<Row>::kName + " (" + columns + ") VALUES (" +
           places + ")";
}

/// The UPDATE statement. The columns of the name do not change but keep their places, so that both
/// statements bind the same values.
template <class Row>
std::string updating() {
    std::string sets;
    int place = kNamed<Row>;
    for (const std::string& name : attributeNames<Row>())
        sets += (sets.empty() ? "" : ", ") + name + " = ?" + std::to_string(++place);
    if constexpr (std::is_same_v<Row, TerminationPoint>)
        sets += ", equipment_id = ?5";
    if constexpr (std::is_same_v<Row, TopologicalLink>)
        sets += ", a_end_id = ?2, z_end_id = ?3";
    return std::string("UPDATE ") + Table<Row>::kName + " SET " + sets + " WHERE id = ?" +
           std::to_string(place + 1);
}

}  // namespace

template <class Row>
std::int64_t RowWriter::insert(const Row& row, const References& references) {
    static const std::string sql = insertion<Row>();
    Prepared& statement = connection_.prepared(sql);
    Binder bind(statement, 0);
    bindName(bind, row, references);
    Table<Row>::visit(row, bind);
    statement.execute();
    const std::int64_t id = connection_.lastId();
    writeEncoded(id, row);
    if constexpr (std::is_same_v<Row, ManagedElement>) {
        if (references.subnetworks)
            setSubnetworks(id, *references.subnetworks);
    }
    return id;
}

template <class Row>
void RowWriter::update(const Row& row, const References& references) {
    static const std::string sql = updating<Row>();
    Prepared& statement = connection_.prepared(sql);
    Binder bind(statement, 0);
    bindName(bind, row, references);
    Table<Row>::visit(row, bind);
    bind.number(row.id);
    statement.execute();
    writeEncoded(row.id, row);
    if constexpr (std::is_same_v<Row, ManagedElement>) {
        if (references.subnetworks)
            setSubnetworks(row.id, *references.subnetworks);
    }
}

template <class Row>
void RowWriter::writeEncoded(std::int64_t id, const Row& row) {
    if constexpr (kIsEncoded<Row>) {
        static const std::string table = encodedTable<Row>();
        static const std::string replacement =
            "INSERT OR REPLACE INTO " + table + " (id, octets) VALUES (?1, ?2)";
        static const std::string removal = "DELETE FROM " + table + " WHERE id = ?1";
        encode(row, room_);
        const std::string form = storedForm(room_);
        Prepared& statement = connection_.prepared(form.empty() ? removal : replacement);
        statement.bind(1, id);
        if (!form.empty())
            statement.bindPacked(2, form);
        statement.execute();
    }
}

void RowWriter::setSubnetworks(std::int64_t elementId,
                               const std::vector<std::int64_t>& subnetworks) {
    Prepared& removal =
        connection_.prepared("DELETE FROM subnetwork_element WHERE element_id = ?1");
    removal.bind(1, elementId);
    removal.execute();
    Prepared& membership = connection_.prepared(
        "INSERT INTO subnetwork_element (subnetwork_id, element_id) VALUES (?1, ?2)");
    for (const std::int64_t subnetwork : subnetworks) {
        membership.bind(1, subnetwork);
        membership.bind(2, elementId);
        membership.execute();
    }
}

void RowWriter::removeAll() {
    connection_.prepared("DELETE FROM subnetwork_element").execute();
    forEachKind([this](const auto& row) {
        using Row = std::decay_t<decltype(row)>;
        const std::string removal = std::string("DELETE FROM ") + Table<Row>::kName;
        connection_.prepared(removal).execute();
        if constexpr (kIsEncoded<Row>)
            connection_.prepared("DELETE FROM " + encodedTable<Row>()).execute();
    });
}

template std::int64_t RowWriter::insert(const ManagedElement&, const References&);
template std::int64_t RowWriter::insert(const EquipmentHolder&, const References&);
template std::int64_t RowWriter::insert(const Equipment&, const References&);
template std::int64_t RowWriter::insert(const TerminationPoint&, const References&);
template std::int64_t RowWriter::insert(const TopologicalLink&, const References&);
template std::int64_t RowWriter::insert(const Subnetwork&, const References&);
template std::int64_t RowWriter::insert(const EmsAttributes&, const References&);
template void RowWriter::update(const ManagedElement&, const References&);
template void RowWriter::update(const EquipmentHolder&, const References&);
template void RowWriter::update(const Equipment&, const References&);
template void RowWriter::update(const TerminationPoint&, const References&);
template void RowWriter::update(const TopologicalLink&, const References&);
template void RowWriter::update(const Subnetwork&, const References&);
template void RowWriter::update(const EmsAttributes&, const References&);
template void RowWriter::writeEncoded(std::int64_t, const ManagedElement&);
template void RowWriter::writeEncoded(std::int64_t, const EquipmentHolder&);
template void RowWriter::writeEncoded(std::int64_t, const Equipment&);
template void RowWriter::writeEncoded(std::int64_t, const TerminationPoint&);
template void RowWriter::writeEncoded(std::int64_t, const TopologicalLink&);
template void RowWriter::writeEncoded(std::int64_t, const Subnetwork&);

}  // namespace kelp::inventory
