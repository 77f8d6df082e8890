#pragma once

#include <mtnm/managedElementManager.h>

#include "common/operation_list.h"

namespace kelp::managedelement {

/// The manager "ManagedElement" (TMF 814 managedElementManager::ManagedElementMgr_I) over the
/// inventory. One servant serves all sessions. It is stateless, and any thread may call it. It
/// implements the operations that managed_element_operations.inc lists as supported. The others
/// raise EXCPT_NOT_IMPLEMENTED.
///
/// An operation refuses with EXCPT_INVALID_INPUT a name of another kind than it accepts, a name of
/// another EMS, or a number that is not a layer rate. It refuses the name of an object that does
/// not exist with EXCPT_ENTITY_NOT_FOUND. A list is a snapshot of which objects exist.
class ManagedElementMgr_I : public virtual POA_managedElementManager::ManagedElementMgr_I {
  public:
#define MANAGER_OPERATION MANAGER_DECLARE
#include "managed_element_operations.inc"
#undef MANAGER_OPERATION
};

}  // namespace kelp::managedelement
