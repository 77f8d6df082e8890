#include "ems_description.h"

#include "common/ems_label.h"
#include "common/idl_names.h"

namespace kelp::ems {

emsMgr::EMS_T* describeEms(const inventory::EmsAttributes& attributes) {
    emsMgr::EMS_T_var ems = new emsMgr::EMS_T;
    managers::toIdl(inventory::EmsName(), ems->name);
    ems->userLabel = CORBA::string_dup(managers::emsUserLabel(attributes).c_str());
    ems->nativeEMSName = CORBA::string_dup(managers::emsNativeName().c_str());
    ems->owner = CORBA::string_dup(attributes.owner.c_str());
    ems->emsVersion = CORBA::string_dup(KELP_VERSION);
    ems->type = CORBA::string_dup("Kelp");
    managers::toIdl(attributes.additionalInfo, ems->additionalInfo);
    return ems._retn();
}

}  // namespace kelp::ems
