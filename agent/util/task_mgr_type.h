#pragma once

namespace NS_KELPCORBA {

/// The type number of the task manager that the module brings.
inline constexpr int kModuleTaskMgrType = 21;

}  // namespace NS_KELPCORBA
