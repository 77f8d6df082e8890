#pragma once

#include <kelp/inventory/model.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "database/connection.h"

namespace kelp::inventory {

/// The ids of the rows that a row refers to; 0 for no row.
struct References {
    std::int64_t element = 0;    ///< of a holder or termination point
    std::int64_t holder = 0;     ///< of equipment
    std::int64_t port = 0;       ///< of a CTP
    std::int64_t equipment = 0;  ///< of a port
    std::int64_t aEnd = 0;       ///< of a link
    std::int64_t zEnd = 0;
    std::optional<std::vector<std::int64_t>> subnetworks =
        {};  ///< of an element; without a value the element stays in its present ones
};

/// Writes rows through one connection, within a transaction of the caller.
class RowWriter {
  public:
    explicit RowWriter(Connection& connection) : connection_(connection) {}

    /// Returns the new row's id.
    template <class Row>
    std::int64_t insert(const Row& row, const References& references);
    /// Replace everything except the name in the row with row.id.
    template <class Row>
    void update(const Row& row, const References& references);

    /// Delete every object. Their ids are never used again. Foreign keys must be off.
    void removeAll();

  private:
    void setSubnetworks(std::int64_t elementId, const std::vector<std::int64_t>& subnetworks);

    Connection& connection_;
};

extern template std::int64_t RowWriter::insert(const ManagedElement&, const References&);
extern template std::int64_t RowWriter::insert(const EquipmentHolder&, const References&);
extern template std::int64_t RowWriter::insert(const Equipment&, const References&);
extern template std::int64_t RowWriter::insert(const TerminationPoint&, const References&);
extern template std::int64_t RowWriter::insert(const TopologicalLink&, const References&);
extern template std::int64_t RowWriter::insert(const Subnetwork&, const References&);
extern template std::int64_t RowWriter::insert(const EmsAttributes&, const References&);
extern template void RowWriter::update(const ManagedElement&, const References&);
extern template void RowWriter::update(const EquipmentHolder&, const References&);
extern template void RowWriter::update(const Equipment&, const References&);
extern template void RowWriter::update(const TerminationPoint&, const References&);
extern template void RowWriter::update(const TopologicalLink&, const References&);
extern template void RowWriter::update(const Subnetwork&, const References&);
extern template void RowWriter::update(const EmsAttributes&, const References&);

}  // namespace kelp::inventory
