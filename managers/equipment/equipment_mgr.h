#pragma once

#include <mtnm/equipment.h>

#include "common/operation_list.h"

namespace kelp::equipmentinventory {

/// The manager "EquipmentInventory" (TMF 814 equipment::EquipmentInventoryMgr_I) over the
/// inventory: holders, the equipment in them and the ports on it. One servant serves all sessions;
/// it keeps no state and may be called from any thread. It has the operations that
/// equipment_operations.inc calls supported; the others raise EXCPT_NOT_IMPLEMENTED. Lists have the
/// holders first, then the equipment.
///
/// A name that is not one of the kind that the operation takes, or of another EMS, is refused with
/// EXCPT_INVALID_INPUT, the name of an object that is not there with EXCPT_ENTITY_NOT_FOUND.
class EquipmentInventoryMgr_I : public virtual POA_equipment::EquipmentInventoryMgr_I {
  public:
#define MANAGER_OPERATION MANAGER_DECLARE
#include "equipment_operations.inc"
#undef MANAGER_OPERATION
};

}  // namespace kelp::equipmentinventory
