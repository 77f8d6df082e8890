#pragma once

namespace NS_KELPCORBA {

/// The type number of the module's own task manager.
inline constexpr int kModuleTaskMgrType = 21;

}  // namespace NS_KELPCORBA
