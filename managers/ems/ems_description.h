#pragma once

#include <mtnm/emsMgr.h>

namespace kelp::ems {

/// This EMS as TMF 814 describes one: named by the configuration, with the product's version. The caller owns
/// it.
emsMgr::EMS_T* describeEms();

}  // namespace kelp::ems
