#pragma once

#include <kelp/corbabase/manager_interface.h>

#include <span>

namespace kelp::unimplemented {

/// A manager of the standard under its name (TMF 814, SD1-15), whose servants answer every
/// operation with EXCPT_NOT_IMPLEMENTED. One servant serves all sessions; it keeps no state and may
/// be called from any thread.
struct UnimplementedManager {
    const char* name;
    NS_CORBA::NorthMgrFactory* factory;  ///< lives as long as the bundle
};

/// One for each manager interface of the standard.
std::span<const UnimplementedManager> unimplementedManagers();

}  // namespace kelp::unimplemented
