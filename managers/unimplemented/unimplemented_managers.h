#pragma once

#include <kelp/corbabase/manager_interface.h>

#include <span>

namespace kelp::unimplemented {

/// A manager of the standard by its name (TMF 814, SD1-15). Its servants answer every operation
/// with EXCPT_NOT_IMPLEMENTED. One servant serves all sessions. It is stateless, and any thread may
/// call it.
struct UnimplementedManager {
    const char* name;
    NS_CORBA::NorthMgrFactory* factory;  ///< lives as long as the bundle
};

/// Return one entry for each manager interface of the standard.
std::span<const UnimplementedManager> unimplementedManagers();

}  // namespace kelp::unimplemented
