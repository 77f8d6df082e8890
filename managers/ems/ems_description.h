#pragma once

#include <kelp/inventory/model.h>
#include <mtnm/emsMgr.h>

namespace kelp::ems {

/// Return this EMS as a TMF 814 structure: the name from the configuration, the version of the
/// product, and the inventory's attributes. The caller owns it.
emsMgr::EMS_T* describeEms(const inventory::EmsAttributes& attributes);

}  // namespace kelp::ems
