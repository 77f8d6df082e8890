#pragma once

#include <mtnm/multiLayerSubnetwork.h>

#include "common/operation_list.h"

namespace kelp::multilayersubnetwork {

/// The manager "MultiLayerSubnetwork" (TMF 814 multiLayerSubnetwork::MultiLayerSubnetworkMgr_I)
/// over the inventory: subnetworks and the elements, links and edge points in them. One servant
/// serves all sessions. It is stateless, and any thread may call it. It implements the operations
/// that subnetwork_operations.inc lists as supported. The others raise EXCPT_NOT_IMPLEMENTED.
///
/// An operation refuses with EXCPT_INVALID_INPUT a name of another kind than it accepts, a name of
/// another EMS, or a number that is not a layer rate. It refuses the name of an object that does
/// not exist with EXCPT_ENTITY_NOT_FOUND.
class MultiLayerSubnetworkMgr_I
    : public virtual POA_multiLayerSubnetwork::MultiLayerSubnetworkMgr_I {
  public:
#define MANAGER_OPERATION MANAGER_DECLARE
#include "subnetwork_operations.inc"
#undef MANAGER_OPERATION
};

}  // namespace kelp::multilayersubnetwork
