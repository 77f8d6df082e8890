#pragma once

#include <kelp/agent/typed_iterator.h>
#include <kelp/inventory/row_ids.h>
#include <kelp/util/stopping.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

#include "idl_names.h"
#include "idl_rows.h"
#include "inventory_access.h"

namespace kelp::managers {

/// Append rows to a sequence. `convert` fills an entry from a row. Rows that have been deleted are
/// skipped.
template <class Row, class Sequence, class Convert>
void appendRows(inventory::Inventory& in, const inventory::RowIds& ids, inventory::Detail detail,
                Sequence& entries, Convert convert) {
    CORBA::ULong at = entries.length();
    entries.length(at + static_cast<CORBA::ULong>(ids.count()));
    in.readEach<Row>(ids, detail, [&](const Row& row) { convert(row, entries[at++]); });
    entries.length(at);
}

/// Append rows as the standard's structures.
template <class Row, class Sequence>
void appendAll(inventory::Inventory& in, const inventory::RowIds& ids, Sequence& entries) {
    appendRows<Row>(in, ids, inventory::Detail::Standard, entries,
                    [](const Row& row, auto& entry) { toIdl(row, entry); });
}

/// Append only the names of rows.
template <class Row>
void appendNames(inventory::Inventory& in, const inventory::RowIds& ids,
                 globaldefs::NamingAttributesList_T& names) {
    appendRows<Row>(
        in, ids, inventory::Detail::Name, names,
        [](const Row& row, globaldefs::NamingAttributes_T& name) { nameToIdl(row, name); });
}

/// Rows of one kind as a list. `Append` puts them into the sequence. `Ready` says how they are
/// encoded when they are read ready for the reply.
template <class Row, class Sequence,
          void (*Append)(inventory::Inventory&, const inventory::RowIds&, Sequence&),
          inventory::Encoding (*Ready)()>
class InventoryList final : public NS_KELPCORBA::ListSource<Sequence> {
  public:
    InventoryList(std::shared_ptr<inventory::Inventory> from, inventory::RowIds ids)
        : inventory_(std::move(from)), ids_(std::move(ids)) {}

    CORBA::ULong left() const override { return static_cast<CORBA::ULong>(ids_.count()); }
    /// Deleted rows are skipped, so continue until at least one row was read or none is left. That
    /// may take long after a million deletions, so end with TRANSIENT when the process is stopping.
    void read(CORBA::ULong most, Sequence& entries) override {
        const CORBA::ULong before = entries.length();
        while (most > 0 && !ids_.empty() && entries.length() == before) {
            if (util::isStopGraceOver())
                throw CORBA::TRANSIENT(0, CORBA::COMPLETED_NO);
            const inventory::RowIds next = ids_.take(most);
            if (taken_)
                taken_->append(next);
            Append(*inventory_, next, entries);
        }
    }
    bool keepWayBack(bool keep) override {
        taken_.reset();
        if (keep)
            taken_.emplace();
        return true;
    }
    void goBack() override {
        ids_.putBack(*taken_);
        taken_->clear();
    }
    std::size_t encodedSize(const Sequence& entries, CORBA::ULong index) const override {
        return managers::encodedSize(entries[index]);
    }
    bool givesReady() const override { return true; }
    bool readReady(CORBA::ULong most, std::size_t bytesMost, orb::ReadyEntries& entries) override {
        inventory::Encoding encoding = Ready();
        encoding.octetsMax = bytesMost;
        inventory::EncodedRows rows{entries.count, std::move(entries.octets)};
        // once, because an object takes about as much
        rows.octets.reserve(std::min<std::size_t>(bytesMost, most * kUsualOctets));
        bool hasRoom = true;
        while (hasRoom && most > 0 && !ids_.empty() && rows.count == entries.count) {
            if (util::isStopGraceOver())
                throw CORBA::TRANSIENT(0, CORBA::COMPLETED_NO);
            inventory::RowIds next = ids_.take(most);
            const inventory::RowIds read =
                next.take(inventory_->template readEncoded<Row>(next, encoding, rows));
            hasRoom = next.empty();
            ids_.putBack(next);
            if (taken_)
                taken_->append(read);
        }
        entries = {rows.count, std::move(rows.octets)};
        return hasRoom;
    }

  private:
    static constexpr std::size_t kUsualOctets = 256;

    const std::shared_ptr<inventory::Inventory> inventory_;
    inventory::RowIds ids_;
    std::optional<inventory::RowIds> taken_;  ///< rows read since keepWayBack(true)
};

/// How the rows of a list of structures are encoded. In a list of equipment or holders they are
/// members of a union.
template <class Row, class Sequence>
inventory::Encoding structureEncoding() {
    inventory::Encoding encoding{emsName()};
    if constexpr (std::is_same_v<Sequence, equipment::EquipmentOrHolderList_T>)
        encoding.discriminator =
            std::is_same_v<Row, inventory::Equipment> ? equipment::EQT : equipment::EQT_HOLDER;
    return encoding;
}

inline inventory::Encoding nameEncoding() {
    return {emsName(), inventory::Encoding::Part::Name};
}

/// A list of rows as the standard's structures.
template <class Row, class Sequence>
using RowList =
    InventoryList<Row, Sequence, &appendAll<Row, Sequence>, &structureEncoding<Row, Sequence>>;

/// A list of the rows' names.
template <class Row>
using NameList =
    InventoryList<Row, globaldefs::NamingAttributesList_T, &appendNames<Row>, &nameEncoding>;

/// The types for a list of rows: the inventory's row type, and the standard's interface, skeleton
/// and sequence types.
template <class RowType, class InterfaceType, class SkeletonType, class SequenceType,
          class SequenceOutType>
struct ListTypes {
    using Sequence = SequenceType;
    using SequenceOut = SequenceOutType;
    using Pointer = typename InterfaceType::_ptr_type;
    using Source = RowList<RowType, SequenceType>;
    using Iterator =
        NS_KELPCORBA::TypedIterator<InterfaceType, SkeletonType, SequenceType, SequenceOutType>;
};

using ElementLists =
    ListTypes<inventory::ManagedElement, managedElement::ManagedElementIterator_I,
              POA_managedElement::ManagedElementIterator_I, managedElement::ManagedElementList_T,
              managedElement::ManagedElementList_T_out>;
using PointLists =
    ListTypes<inventory::TerminationPoint, terminationPoint::TerminationPointIterator_I,
              POA_terminationPoint::TerminationPointIterator_I,
              terminationPoint::TerminationPointList_T,
              terminationPoint::TerminationPointList_T_out>;
using LinkLists =
    ListTypes<inventory::TopologicalLink, topologicalLink::TopologicalLinkIterator_I,
              POA_topologicalLink::TopologicalLinkIterator_I,
              topologicalLink::TopologicalLinkList_T, topologicalLink::TopologicalLinkList_T_out>;
using SubnetworkLists =
    ListTypes<inventory::Subnetwork, multiLayerSubnetwork::SubnetworkIterator_I,
              POA_multiLayerSubnetwork::SubnetworkIterator_I,
              multiLayerSubnetwork::SubnetworkList_T, multiLayerSubnetwork::SubnetworkList_T_out>;
using NameIterator = NS_KELPCORBA::TypedIterator<
    globaldefs::NamingAttributesIterator_I, POA_globaldefs::NamingAttributesIterator_I,
    globaldefs::NamingAttributesList_T, globaldefs::NamingAttributesList_T_out>;

/// Answer a request for a list: put the first entries into `list` and return an iterator for the
/// rest, which the caller owns. `query` returns the row ids from the inventory.
template <class Lists, class Query>
typename Lists::Pointer giveRows(CORBA::ULong howMany, typename Lists::SequenceOut list,
                                 Query query) {
    return withInventory([&](std::shared_ptr<inventory::Inventory> from) {
        inventory::RowIds ids = query(*from);
        return Lists::Iterator::give(
            std::make_unique<typename Lists::Source>(std::move(from), std::move(ids)), howMany,
            list);
    });
}

/// The same, but the list contains only names.
template <class Row, class Query>
globaldefs::NamingAttributesIterator_I_ptr giveNames(CORBA::ULong howMany,
                                                     globaldefs::NamingAttributesList_T_out list,
                                                     Query query) {
    return withInventory([&](std::shared_ptr<inventory::Inventory> from) {
        inventory::RowIds ids = query(*from);
        return NameIterator::give(std::make_unique<NameList<Row>>(std::move(from), std::move(ids)),
                                  howMany, list);
    });
}

}  // namespace kelp::managers
