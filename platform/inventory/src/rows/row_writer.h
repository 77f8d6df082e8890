#pragma once

#include <kelp/inventory/model.h>

#include <cstdint>
#include <optional>
#include <vector>

#include "database/connection.h"
#include "encoded/structure.h"

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

/// Writes rows through one connection, within a transaction of the caller. Each row is written
/// together with its encoded form, so all members that belong to its name must be set: those of the
/// objects that contain it, and the ends of a link.
class RowWriter {
  public:
    explicit RowWriter(Connection& connection) : connection_(connection) {}

    /// Returns the new row's id.
    template <class Row>
    std::int64_t insert(const Row& row, const References& references);
    /// Replace everything except the name in the row with row.id.
    template <class Row>
    void update(const Row& row, const References& references);

    /// Write only the encoded form of the row with that id. `row` needs the members that are read
    /// with Detail::Standard.
    template <class Row>
    void writeEncoded(std::int64_t id, const Row& row);

    /// Delete every object. Their ids are never used again. Foreign keys must be off.
    void removeAll();

  private:
    void setSubnetworks(std::int64_t elementId, const std::vector<std::int64_t>& subnetworks);

    Connection& connection_;
    Structure room_;  ///< the memory for an encoded form
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
extern template void RowWriter::writeEncoded(std::int64_t, const ManagedElement&);
extern template void RowWriter::writeEncoded(std::int64_t, const EquipmentHolder&);
extern template void RowWriter::writeEncoded(std::int64_t, const Equipment&);
extern template void RowWriter::writeEncoded(std::int64_t, const TerminationPoint&);
extern template void RowWriter::writeEncoded(std::int64_t, const TopologicalLink&);
extern template void RowWriter::writeEncoded(std::int64_t, const Subnetwork&);

}  // namespace kelp::inventory
