#pragma once

#include <kelp/inventory/model.h>

#include <optional>
#include <string>

#include "files/record.h"
#include "names/name_index.h"
#include "rows/row_writer.h"

namespace kelp::inventory {

/// The row that a record is about and the rows that it refers to.
struct Identity {
    std::int64_t id = 0;  ///< of the row with this name; 0: no such row yet
    References references;
};

/// A row that a record refers to and that does not exist yet.
struct MissingRow {
    std::string key;
    std::string what;
};

/// Set the name of a row, and the names that it refers to, from the record's keys. Returns false if
/// a key is missing or wrong, and adds the problem to `problems`.
bool takeName(const Record& record, ManagedElement& row, Problems& problems);
bool takeName(const Record& record, EquipmentHolder& row, Problems& problems);
bool takeName(const Record& record, Equipment& row, Problems& problems);
bool takeName(const Record& record, TerminationPoint& row, Problems& problems);
bool takeName(const Record& record, TopologicalLink& row, Problems& problems);
bool takeName(const Record& record, Subnetwork& row, Problems& problems);
bool takeName(const Record& record, EmsAttributes& row, Problems& problems);

/// Look up the row with this name and the rows that it refers to. Returns the first that is
/// missing, if any.
std::optional<MissingRow> identify(NameIndex& index, const ManagedElement& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const EquipmentHolder& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const Equipment& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const TerminationPoint& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const TopologicalLink& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const Subnetwork& row, Identity& found);
std::optional<MissingRow> identify(NameIndex& index, const EmsAttributes& row, Identity& found);

/// The value of the last component of a row's name. It is also the native name unless the record
/// gives one. Empty for the EMS.
const std::string& ownName(const ManagedElement& row);
const std::string& ownName(const EquipmentHolder& row);
const std::string& ownName(const Equipment& row);
const std::string& ownName(const TerminationPoint& row);
const std::string& ownName(const TopologicalLink& row);
const std::string& ownName(const Subnetwork& row);
const std::string& ownName(const EmsAttributes& row);

}  // namespace kelp::inventory
