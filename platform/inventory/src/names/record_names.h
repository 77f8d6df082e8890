#pragma once

#include <kelp/inventory/model.h>

#include <optional>
#include <string>

#include "names/name_index.h"
#include "rows/record.h"
#include "rows/row_writer.h"

namespace kelp::inventory {

/// What a record is about and refers to, out of its keys and the rows that are there.
struct Identity {
    std::int64_t id = 0;  ///< of the row with this name; 0: there is none yet
    References references;
};

/// A row that a record refers to and that is not there, yet.
struct MissingRow {
    std::string key;
    std::string what;
};

/// Fills the name of a row, and those that it refers to, in from the record's keys. False when a
/// key is missing or wrong, which goes to `problems`.
bool takeName(const Record& record, ManagedElement& row, Problems& problems);
bool takeName(const Record& record, EquipmentHolder& row, Problems& problems);
bool takeName(const Record& record, Equipment& row, Problems& problems);
bool takeName(const Record& record, TerminationPoint& row, Problems& problems);
bool takeName(const Record& record, TopologicalLink& row, Problems& problems);
bool takeName(const Record& record, Subnetwork& row, Problems& problems);
bool takeName(const Record& record, EmsAttributes& row, Problems& problems);

/// Looks for the row with this name and those that it refers to. Returns the first that is missing,
/// or none.
std::optional<MissingRow> identify(NameIndex& index, const ManagedElement& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const EquipmentHolder& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const Equipment& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const TerminationPoint& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const TopologicalLink& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const Subnetwork& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const EmsAttributes& row, Identity& found);

/// The value of a row's last name component, which its native name is unless it is told. The EMS
/// has none.
const std::string& ownName(const ManagedElement& row);
const std::string& ownName(const EquipmentHolder& row);
const std::string& ownName(const Equipment& row);
const std::string& ownName(const TerminationPoint& row);
const std::string& ownName(const TopologicalLink& row);
const std::string& ownName(const Subnetwork& row);
const std::string& ownName(const EmsAttributes& row);

}  // namespace kelp::inventory
