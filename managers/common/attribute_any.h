#pragma once

#include <kelp/inventory/change_feed.h>
#include <mtnm/notifications.h>

#include <string>
#include <vector>

namespace kelp::managers {

/// Return the attributes of a row by their names in the standard's structure, each with its
/// complete value in the type of that member. Throws inventory::InventoryFailure for a name that
/// the structure does not have.
notifications::NVList_T attributeList(const inventory::AnyRow& row,
                                      const std::vector<std::string>& names);

/// Insert the standard's structure of a row. The EMS has none that an event may carry, and leaves
/// `any` as it is.
void insertStructure(const inventory::AnyRow& row, CORBA::Any& any);

}  // namespace kelp::managers
