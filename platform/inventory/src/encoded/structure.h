#pragma once

#include <kelp/inventory/model.h>
#include <kelp/inventory/object_name.h>

#include <string>
#include <vector>

#include "encoded/cdr_check.h"
#include "encoded/cdr_writer.h"

namespace kelp::inventory {

/// The standard's structure of one object in CDR, without the value of the EMS in names. That
/// depends on the configuration, so it is inserted when the structure is sent.
struct Structure {
    std::string octets;
    /// Where the values of the EMS belong, as offsets in `octets`. Each is a multiple of four.
    std::vector<std::uint32_t> emsAt;
    /// Length of the name, which comes first, without the EMS.
    std::uint32_t nameLength = 0;

    void clear();
};

/// Replace `structure` by that of a row. Row is ManagedElement, EquipmentHolder, Equipment,
/// TerminationPoint, TopologicalLink or Subnetwork.
template <class Row>
void encode(const Row& row, Structure& structure);

/// Return whether the octets are a complete structure with all values of the EMS in place. They
/// cannot harm a receiver then, whatever their texts are.
template <class Row>
bool isStructure(std::string_view octets);

/// The same for the name of an object alone.
bool isName(std::string_view octets);

extern template void encode(const ManagedElement&, Structure&);
extern template void encode(const EquipmentHolder&, Structure&);
extern template void encode(const Equipment&, Structure&);
extern template void encode(const TerminationPoint&, Structure&);
extern template void encode(const TopologicalLink&, Structure&);
extern template void encode(const Subnetwork&, Structure&);
extern template bool isStructure<ManagedElement>(std::string_view);
extern template bool isStructure<EquipmentHolder>(std::string_view);
extern template bool isStructure<Equipment>(std::string_view);
extern template bool isStructure<TerminationPoint>(std::string_view);
extern template bool isStructure<TopologicalLink>(std::string_view);
extern template bool isStructure<Subnetwork>(std::string_view);

}  // namespace kelp::inventory
