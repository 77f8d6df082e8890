#pragma once

#include <kelp/inventory/inventory.h>
#include <kelp/inventory/model.h>
#include <kelp/inventory/row_ids.h>

#include <string>
#include <vector>

#include "connection.h"
#include "name_index.h"

namespace kelp::inventory {

/// Reads rows of one kind through one connection, within a transaction of the caller's.
template <class Row>
class RowReader {
  public:
    RowReader(Connection& connection, Detail detail);

    /// Appends the rows of a range that are there, in the order of their ids.
    void read(IdRange range, std::vector<Row>& rows);

    /// Passes them on instead, in `row`, whose texts keep their room from one row to the next.
    template <class Take>
    void readEach(IdRange range, Row& row, const Take& take) {
        const ResetAtEnd reset(statement_);
        begin(range);
        while (statement_.step()) {
            takeRow(row);
            take(row);
        }
    }

  private:
    void begin(IdRange range);
    void takeRow(Row& row);
    void takeName(Row& row);

    NameIndex names_;
    const Detail detail_;
    Prepared& statement_;
    int column_ = 0;  ///< the next to be taken
};

template <>
void RowReader<ManagedElement>::takeName(ManagedElement& row);
template <>
void RowReader<EquipmentHolder>::takeName(EquipmentHolder& row);
template <>
void RowReader<Equipment>::takeName(Equipment& row);
template <>
void RowReader<TerminationPoint>::takeName(TerminationPoint& row);
template <>
void RowReader<TopologicalLink>::takeName(TopologicalLink& row);
template <>
void RowReader<Subnetwork>::takeName(Subnetwork& row);
template <>
void RowReader<EmsAttributes>::takeName(EmsAttributes& row);

extern template class RowReader<ManagedElement>;
extern template class RowReader<EquipmentHolder>;
extern template class RowReader<Equipment>;
extern template class RowReader<TerminationPoint>;
extern template class RowReader<TopologicalLink>;
extern template class RowReader<Subnetwork>;
extern template class RowReader<EmsAttributes>;

}  // namespace kelp::inventory
