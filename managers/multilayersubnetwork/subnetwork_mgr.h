#pragma once

#include <mtnm/multiLayerSubnetwork.h>

#include "common/operation_list.h"

namespace kelp::multilayersubnetwork {

/// The manager "MultiLayerSubnetwork" (TMF 814 multiLayerSubnetwork::MultiLayerSubnetworkMgr_I)
/// over the inventory: subnetworks with the elements, links and edge points in them. One servant
/// serves all sessions; it keeps no state and may be called from any thread. It has the operations
/// that subnetwork_operations.inc calls supported; the others raise EXCPT_NOT_IMPLEMENTED.
///
/// A name that is not one of the kind that the operation takes, or of another EMS, is refused with
/// EXCPT_INVALID_INPUT, and so is a number that is no layer rate; the name of an object that is not
/// there with EXCPT_ENTITY_NOT_FOUND.
class MultiLayerSubnetworkMgr_I
    : public virtual POA_multiLayerSubnetwork::MultiLayerSubnetworkMgr_I {
  public:
#define MANAGER_OPERATION MANAGER_DECLARE
#include "subnetwork_operations.inc"
#undef MANAGER_OPERATION
};

}  // namespace kelp::multilayersubnetwork
