#pragma once

#include <kelp/inventory/inventory.h>
#include <kelp/inventory/model.h>
#include <kelp/inventory/row_ids.h>

#include <string>
#include <vector>

#include "database/connection.h"
#include "database/scan.h"
#include "names/name_index.h"

namespace kelp::inventory {

/// Reads rows of one kind through one connection, within a transaction of the caller.
template <class Row>
class RowReader {
  public:
    RowReader(Connection& connection, Detail detail);

    /// Append the existing rows of a range, in the order of their ids.
    void read(IdRange range, std::vector<Row>& rows) {
        scanRange(range, [&](Columns columns) { takeRow(columns, rows.emplace_back()); });
    }

    /// Pass the rows to `take` one after the other. All use `row`, so that the memory of its texts
    /// is used again.
    template <class Take>
    void readEach(IdRange range, Row& row, const Take& take) {
        scanRange(range, [&](Columns columns) {
            takeRow(columns, row);
            take(row);
        });
    }

  private:
    template <class Taker>
    void scanRange(IdRange range, const Taker& taker) {
        statement_.bind(1, range.first);
        statement_.bind(2, range.last());
        scan(statement_, 3, taker);
    }
    void takeRow(Columns& columns, Row& row);
    void takeName(Columns& columns, Row& row);

    NameIndex names_;
    const Detail detail_;
    Prepared& statement_;
};

template <>
void RowReader<ManagedElement>::takeName(Columns& columns, ManagedElement& row);
template <>
void RowReader<EquipmentHolder>::takeName(Columns& columns, EquipmentHolder& row);
template <>
void RowReader<Equipment>::takeName(Columns& columns, Equipment& row);
template <>
void RowReader<TerminationPoint>::takeName(Columns& columns, TerminationPoint& row);
template <>
void RowReader<TopologicalLink>::takeName(Columns& columns, TopologicalLink& row);
template <>
void RowReader<Subnetwork>::takeName(Columns& columns, Subnetwork& row);
template <>
void RowReader<EmsAttributes>::takeName(Columns& columns, EmsAttributes& row);

extern template class RowReader<ManagedElement>;
extern template class RowReader<EquipmentHolder>;
extern template class RowReader<Equipment>;
extern template class RowReader<TerminationPoint>;
extern template class RowReader<TopologicalLink>;
extern template class RowReader<Subnetwork>;
extern template class RowReader<EmsAttributes>;

}  // namespace kelp::inventory
