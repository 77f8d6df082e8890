#pragma once

#include <mtnm/emsMgr.h>

#include "common/operation_list.h"
#include "ems_attributes.h"

namespace kelp::ems {

/// The manager "EMS" (TMF 814 emsMgr::EMSMgr_I). One servant serves all sessions. Any thread may
/// call it. It implements the operations that ems_operations.inc lists as supported. The others
/// raise EXCPT_NOT_IMPLEMENTED.
class EmsMgr_IImpl : public virtual POA_emsMgr::EMSMgr_I {
  public:
#define MANAGER_OPERATION MANAGER_DECLARE
#include "ems_operations.inc"
#undef MANAGER_OPERATION

  private:
    KnownEmsAttributes attributes_;
};

}  // namespace kelp::ems
