#pragma once

#include <kelp/inventory/model.h>

#include <string>
#include <vector>

namespace kelp::inventory {

/// Names the attributes in which two rows of the same object differ, in the order of the table. A
/// list of named values is compared value by value: each value that was added, changed or removed
/// is named as "additionalInfo/<name>" or "transmissionParams/<layer number>/<name>". Layers that
/// only one of the rows has are named as "transmissionParams". The ends of a link are "aEndTP" and
/// "zEndTP".
template <class Row>
std::vector<std::string> differences(const Row& before, const Row& after);

/// Whether the attribute belongs to the standard's structures, so that an NMS is notified of it.
bool isReported(const std::string& difference);

/// Reduce the lists of named values of `row` to what has changed, as TMF 814 reports them: only the
/// values that `changes` names, a removed one as "-", and all layers of a termination point.
/// `changes` is the union of one or more results of differences(). Returns the names of the changed
/// attributes without repetition.
template <class Row>
std::vector<std::string> reduceToChanges(Row& row, const std::vector<std::string>& changes);

}  // namespace kelp::inventory
