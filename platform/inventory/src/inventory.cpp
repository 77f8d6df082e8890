#include <kelp/bundlemgr/config_store.h>
#include <kelp/inventory/inventory.h>
#include <kelp/util/trace_log.h>

#include <variant>

#include "database/inventory_state.h"
#include "database/table.h"
#include "names/name_index.h"
#include "rows/encoding_round.h"
#include "rows/row_reader.h"

namespace kelp::inventory {

namespace {

std::int64_t idOf(NameIndex& index, const ManagedElementName& name) {
    return index.elementId(name.managedElement);
}
std::int64_t idOf(NameIndex& index, const HolderName& name) {
    const std::int64_t element = index.elementId(name.managedElement);
    return element == 0 ? 0 : index.holderId(element, name.holder);
}
std::int64_t idOf(NameIndex& index, const EquipmentName& name) {
    const std::int64_t holder = idOf(index, HolderName{name.managedElement, name.holder});
    return holder == 0 ? 0 : index.equipmentId(holder, name.equipment);
}
std::int64_t idOf(NameIndex& index, const TpName& name) {
    return index.tpId(name);
}
std::int64_t idOf(NameIndex& index, const LinkName& name) {
    return index.linkId(name.link);
}
std::int64_t idOf(NameIndex& index, const SubnetworkName& name) {
    return index.subnetworkId(name.subnetwork);
}

template <class Row, class Name>
std::optional<Row> findRow(Connection& connection, const Name& name) {
    NameIndex index(connection);
    const std::int64_t id = idOf(index, name);
    if (id == 0)
        return std::nullopt;
    std::vector<Row> rows;
    RowReader<Row>(connection, Detail::All).read({id, 1}, rows);
    return rows.empty() ? std::nullopt : std::optional<Row>(std::move(rows.front()));
}

template <class Row, class State, class Name>
std::optional<Row> findIn(State& state, const Name& name) {
    return state.reading([&](auto& lease) { return findRow<Row>(lease.connection(), name); });
}

template <class Row>
std::vector<Row> readRows(Connection& connection, const RowIds& ids, Detail detail) {
    std::vector<Row> rows;
    rows.reserve(ids.count());
    RowReader<Row> reader(connection, detail);
    for (const IdRange& range : ids.ranges())
        reader.read(range, rows);
    return rows;
}

}  // namespace

Inventory::State::State(const std::filesystem::path& path)
    : file(path),
      identity(identityOfMade(path)),
      readers(path, identity),
      writer(openForWriting(path)) {
    try {
        encodeMissing(writer);
    } catch (const SQLite::Exception& failure) {
        // the inventory works without them, and the next opening tries again
        util::traceFrom("inventory", std::string("encoded forms are missing: ") +
                                         failureOf(file, failure).what());
    }
}

Inventory::Inventory(const std::filesystem::path& file, Missing missing) {
    if (missing == Missing::IsAnError)
        requireFile(file);
    state_ = translated(file, [&] { return std::make_unique<State>(file); });
}

Inventory::~Inventory() = default;

bool Inventory::isCurrent() const {
    return util::identityOf(state_->file) == state_->identity;
}

std::optional<ManagedElement> Inventory::find(const ManagedElementName& name) {
    return findIn<ManagedElement>(*state_, name);
}
std::optional<EquipmentHolder> Inventory::find(const HolderName& name) {
    return findIn<EquipmentHolder>(*state_, name);
}
std::optional<Equipment> Inventory::find(const EquipmentName& name) {
    return findIn<Equipment>(*state_, name);
}
std::optional<TerminationPoint> Inventory::find(const TpName& name) {
    return findIn<TerminationPoint>(*state_, name);
}
std::optional<TopologicalLink> Inventory::find(const LinkName& name) {
    return findIn<TopologicalLink>(*state_, name);
}
std::optional<Subnetwork> Inventory::find(const SubnetworkName& name) {
    return findIn<Subnetwork>(*state_, name);
}

std::optional<EmsAttributes> Inventory::find(const EmsName&) {
    return ems();
}

EmsAttributes Inventory::ems() {
    return state_->reading([](auto& lease) {
        std::vector<EmsAttributes> rows;
        RowReader<EmsAttributes>(lease.connection(), Detail::All)
            .read({EmsAttributes().id, 1}, rows);
        return rows.empty() ? EmsAttributes() : std::move(rows.front());
    });
}

template <class Row>
std::vector<Row> Inventory::read(const RowIds& ids) {
    return state_->reading(
        [&](auto& lease) { return readRows<Row>(lease.connection(), ids, Detail::All); });
}

template <class Row>
std::vector<Row> Inventory::readNames(const RowIds& ids) {
    return state_->reading(
        [&](auto& lease) { return readRows<Row>(lease.connection(), ids, Detail::Name); });
}

template <class Row>
void Inventory::readEach(const RowIds& ids, Detail detail,
                         const std::function<void(const Row&)>& take) {
    state_->reading([&](auto& lease) {
        RowReader<Row> reader(lease.connection(), detail);
        Row row;
        for (const IdRange& range : ids.ranges())
            reader.readEach(range, row, take);
    });
}

template std::vector<ManagedElement> Inventory::read(const RowIds&);
template std::vector<EquipmentHolder> Inventory::read(const RowIds&);
template std::vector<Equipment> Inventory::read(const RowIds&);
template std::vector<TerminationPoint> Inventory::read(const RowIds&);
template std::vector<TopologicalLink> Inventory::read(const RowIds&);
template std::vector<Subnetwork> Inventory::read(const RowIds&);
template std::vector<ManagedElement> Inventory::readNames(const RowIds&);
template std::vector<EquipmentHolder> Inventory::readNames(const RowIds&);
template std::vector<Equipment> Inventory::readNames(const RowIds&);
template std::vector<TerminationPoint> Inventory::readNames(const RowIds&);
template std::vector<TopologicalLink> Inventory::readNames(const RowIds&);
template std::vector<Subnetwork> Inventory::readNames(const RowIds&);
template void Inventory::readEach(const RowIds&, Detail,
                                  const std::function<void(const ManagedElement&)>&);
template void Inventory::readEach(const RowIds&, Detail,
                                  const std::function<void(const EquipmentHolder&)>&);
template void Inventory::readEach(const RowIds&, Detail,
                                  const std::function<void(const Equipment&)>&);
template void Inventory::readEach(const RowIds&, Detail,
                                  const std::function<void(const TerminationPoint&)>&);
template void Inventory::readEach(const RowIds&, Detail,
                                  const std::function<void(const TopologicalLink&)>&);
template void Inventory::readEach(const RowIds&, Detail,
                                  const std::function<void(const Subnetwork&)>&);

std::filesystem::path configuredInventory() {
    const std::string configured =
        NS_BUNDLEMGR1::ConfigStore::instance().text("inventory.database");
    return configured.empty() ? NS_BUNDLEMGR1::defaultStateDirectory() / "inventory.db"
                              : std::filesystem::path(configured);
}

}  // namespace kelp::inventory
