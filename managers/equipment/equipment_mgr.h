#pragma once

#include <mtnm/equipment.h>

#include "common/operation_list.h"

namespace kelp::equipmentinventory {

/// The manager "EquipmentInventory" (TMF 814 equipment::EquipmentInventoryMgr_I) over the
/// inventory: holders, the equipment in them and the ports on it. One servant serves all sessions.
/// It is stateless, and any thread may call it. It implements the operations that
/// equipment_operations.inc lists as supported. The others raise EXCPT_NOT_IMPLEMENTED. Lists
/// contain the holders first, then the equipment.
///
/// An operation refuses with EXCPT_INVALID_INPUT a name of another kind than it accepts, or of
/// another EMS. It refuses the name of an object that does not exist with EXCPT_ENTITY_NOT_FOUND.
class EquipmentInventoryMgr_I : public virtual POA_equipment::EquipmentInventoryMgr_I {
  public:
#define MANAGER_OPERATION MANAGER_DECLARE
#include "equipment_operations.inc"
#undef MANAGER_OPERATION
};

}  // namespace kelp::equipmentinventory
