#pragma once

#include <mtnm/managedElementManager.h>

#include "common/operation_list.h"

namespace kelp::managedelement {

/// The manager "ManagedElement" (TMF 814 managedElementManager::ManagedElementMgr_I) over the
/// inventory. One servant serves all sessions; it keeps no state and may be called from any thread.
/// It has the operations that managed_element_operations.inc calls supported; the others raise
/// EXCPT_NOT_IMPLEMENTED.
///
/// A name that is not one of the kind that the operation takes, or of another EMS, is refused with
/// EXCPT_INVALID_INPUT, and so is a number that is no layer rate; the name of an object that is not
/// there with EXCPT_ENTITY_NOT_FOUND. Lists are snapshots of which objects there are.
class ManagedElementMgr_I : public virtual POA_managedElementManager::ManagedElementMgr_I {
  public:
#define MANAGER_OPERATION MANAGER_DECLARE
#include "managed_element_operations.inc"
#undef MANAGER_OPERATION
};

}  // namespace kelp::managedelement
