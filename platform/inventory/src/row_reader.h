#pragma once

#include <kelp/inventory/model.h>
#include <kelp/inventory/row_ids.h>

#include <string>
#include <vector>

#include "connection.h"
#include "name_index.h"

namespace kelp::inventory {

enum class Columns { All, NamesOnly };

/// Reads rows of one kind through one connection, within a transaction of the caller's.
template <class Row>
class RowReader {
  public:
    RowReader(Connection& connection, Columns columns);

    /// Appends the rows of a range that are there, in the order of their ids.
    void read(IdRange range, std::vector<Row>& rows);

  private:
    void takeRow(Row& row);
    void takeName(Row& row);

    NameIndex names_;
    const Columns columns_;
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
