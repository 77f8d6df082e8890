#pragma once

#include <kelp/agent/error_translation.h>

#include <mtnm/emsMgr.h>

namespace kelp::ems {

/// The manager "EMS" (TMF 814 emsMgr::EMSMgr_I). One servant serves all sessions; it keeps no state and may
/// be called from any thread. It has the operations that ems_operations.inc calls supported; the others raise
/// EXCPT_NOT_IMPLEMENTED.
class EmsMgr_IImpl : public virtual POA_emsMgr::EMSMgr_I {
  public:
#define EMS_OPERATION(module, interface, operation, parameters, support) \
    EMS_DECLARE_##support(operation, parameters)
#define EMS_DECLARE_Supported(operation, parameters) void operation parameters override;
#define EMS_DECLARE_Unsupported(operation, parameters) \
    void operation parameters override {               \
        refuse();                                      \
    }
#include "ems_operations.inc"
#undef EMS_DECLARE_Unsupported
#undef EMS_DECLARE_Supported
#undef EMS_OPERATION

  private:
    static void refuse() {
        NS_KELPCORBA::ThrowException(NS_KELPCORBA::kOperationNotImplemented);
    }
};

}  // namespace kelp::ems
