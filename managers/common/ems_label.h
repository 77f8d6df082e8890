#pragma once

#include <kelp/inventory/model.h>

#include <string>

namespace kelp::managers {

/// The native name of this EMS: its name without the company.
const std::string& emsNativeName();
/// The user label of this EMS. Until one is set it is the native name (TMF 814).
const std::string& emsUserLabel(const inventory::EmsAttributes& attributes);

}  // namespace kelp::managers
