#pragma once

#include <kelp/inventory/model.h>
#include <mtnm/emsMgr.h>

namespace kelp::ems {

/// This EMS as TMF 814 describes one: named by the configuration, with the product's version and
/// what the inventory says of it. The caller owns it.
emsMgr::EMS_T* describeEms(const inventory::EmsAttributes& attributes);

}  // namespace kelp::ems
