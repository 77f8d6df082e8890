#pragma once

#include "idl_names.h"
#include "idl_rows.h"
#include "inventory_access.h"

#include <kelp/agent/typed_iterator.h>
#include <kelp/inventory/row_ids.h>

#include <memory>
#include <utility>

namespace kelp::managers {

/// Appends the next rows to a sequence of the standard, `most` of them at most, until there is at least one
/// or none is left: rows that are gone are passed over.
template <class Sequence, class ReadRows>
void appendRows(inventory::RowIds& ids, CORBA::ULong most, Sequence& entries, ReadRows readRows) {
    const CORBA::ULong before = entries.length();
    while (most > 0 && !ids.empty() && entries.length() == before) {
        const auto rows = readRows(ids.take(most));
        CORBA::ULong at = before;
        entries.length(before + static_cast<CORBA::ULong>(rows.size()));
        for (const auto& row : rows)
            toIdl(row, entries[at++]);
    }
}

/// Appends all of the rows to a sequence, for a list that is short by its nature.
template <class Row, class Sequence>
void appendAll(inventory::Inventory& in, const inventory::RowIds& ids, Sequence& entries) {
    CORBA::ULong at = entries.length();
    const std::vector<Row> rows = in.read<Row>(ids);
    entries.length(at + static_cast<CORBA::ULong>(rows.size()));
    for (const Row& row : rows)
        toIdl(row, entries[at++]);
}

/// The same for the names alone.
template <class Row>
void appendNames(inventory::Inventory& in, const inventory::RowIds& ids,
                 globaldefs::NamingAttributesList_T& names) {
    CORBA::ULong at = names.length();
    const std::vector<Row> rows = in.readNames<Row>(ids);
    names.length(at + static_cast<CORBA::ULong>(rows.size()));
    for (const Row& row : rows)
        toIdl(inventory::nameOf(row), names[at++]);
}

/// Rows of one kind as a list of the standard's structures.
template <class Row, class Sequence>
class RowList final : public NS_KELPCORBA::ListSource<Sequence> {
  public:
    RowList(std::shared_ptr<inventory::Inventory> from, inventory::RowIds ids)
        : inventory_(std::move(from)), ids_(std::move(ids)) {}

    CORBA::ULong left() const override { return static_cast<CORBA::ULong>(ids_.count()); }
    void read(CORBA::ULong most, Sequence& entries) override {
        appendRows(ids_, most, entries,
                   [this](const inventory::RowIds& ids) { return inventory_->template read<Row>(ids); });
    }
    std::size_t encodedSize(const Sequence& entries, CORBA::ULong index) const override {
        return managers::encodedSize(entries[index]);
    }

  private:
    const std::shared_ptr<inventory::Inventory> inventory_;
    inventory::RowIds ids_;
};

/// The names of rows of one kind.
template <class Row>
class NameList final : public NS_KELPCORBA::ListSource<globaldefs::NamingAttributesList_T> {
  public:
    NameList(std::shared_ptr<inventory::Inventory> from, inventory::RowIds ids)
        : inventory_(std::move(from)), ids_(std::move(ids)) {}

    CORBA::ULong left() const override { return static_cast<CORBA::ULong>(ids_.count()); }
    void read(CORBA::ULong most, globaldefs::NamingAttributesList_T& entries) override {
        appendRows(ids_, most, entries, [this](const inventory::RowIds& ids) { return namesOf(ids); });
    }
    std::size_t encodedSize(const globaldefs::NamingAttributesList_T& entries,
                            CORBA::ULong index) const override {
        return managers::encodedSize(entries[index]);
    }

  private:
    std::vector<inventory::ObjectName> namesOf(const inventory::RowIds& ids) const {
        std::vector<inventory::ObjectName> names;
        for (const Row& row : inventory_->readNames<Row>(ids))
            names.push_back(inventory::nameOf(row));
        return names;
    }

    const std::shared_ptr<inventory::Inventory> inventory_;
    inventory::RowIds ids_;
};

/// The types that go with a list of rows: what the inventory calls them, what the standard does.
template <class RowType, class InterfaceType, class SkeletonType, class SequenceType, class SequenceOutType>
struct ListTypes {
    using Sequence = SequenceType;
    using SequenceOut = SequenceOutType;
    using Pointer = typename InterfaceType::_ptr_type;
    using Source = RowList<RowType, SequenceType>;
    using Iterator = NS_KELPCORBA::TypedIterator<InterfaceType, SkeletonType, SequenceType, SequenceOutType>;
};

using ElementLists =
    ListTypes<inventory::ManagedElement, managedElement::ManagedElementIterator_I,
              POA_managedElement::ManagedElementIterator_I, managedElement::ManagedElementList_T,
              managedElement::ManagedElementList_T_out>;
using PointLists =
    ListTypes<inventory::TerminationPoint, terminationPoint::TerminationPointIterator_I,
              POA_terminationPoint::TerminationPointIterator_I, terminationPoint::TerminationPointList_T,
              terminationPoint::TerminationPointList_T_out>;
using LinkLists =
    ListTypes<inventory::TopologicalLink, topologicalLink::TopologicalLinkIterator_I,
              POA_topologicalLink::TopologicalLinkIterator_I, topologicalLink::TopologicalLinkList_T,
              topologicalLink::TopologicalLinkList_T_out>;
using SubnetworkLists =
    ListTypes<inventory::Subnetwork, multiLayerSubnetwork::SubnetworkIterator_I,
              POA_multiLayerSubnetwork::SubnetworkIterator_I, multiLayerSubnetwork::SubnetworkList_T,
              multiLayerSubnetwork::SubnetworkList_T_out>;
using NameIterator =
    NS_KELPCORBA::TypedIterator<globaldefs::NamingAttributesIterator_I,
                                POA_globaldefs::NamingAttributesIterator_I,
                                globaldefs::NamingAttributesList_T, globaldefs::NamingAttributesList_T_out>;

/// Answers a request for a list: the first entries in `list`, an iterator for the rest, which is the
/// caller's. `query` gives the row ids out of the inventory.
template <class Lists, class Query>
typename Lists::Pointer giveRows(CORBA::ULong howMany, typename Lists::SequenceOut list, Query query) {
    return withInventory([&](std::shared_ptr<inventory::Inventory> from) {
        inventory::RowIds ids = query(*from);
        return Lists::Iterator::give(
            std::make_unique<typename Lists::Source>(std::move(from), std::move(ids)), howMany, list);
    });
}

/// The same for the names alone.
template <class Row, class Query>
globaldefs::NamingAttributesIterator_I_ptr giveNames(CORBA::ULong howMany,
                                                     globaldefs::NamingAttributesList_T_out list,
                                                     Query query) {
    return withInventory([&](std::shared_ptr<inventory::Inventory> from) {
        inventory::RowIds ids = query(*from);
        return NameIterator::give(std::make_unique<NameList<Row>>(std::move(from), std::move(ids)), howMany,
                                  list);
    });
}

}  // namespace kelp::managers
