#include "ems_mgr.h"

#include "ems_description.h"

#include <iterator>

namespace kelp::ems {

namespace {

struct Capability {
    const char* name;
    const char* value;
};

constexpr Capability kCapabilities[] = {
#define EMS_OPERATION(module, interface, operation, parameters, support) \
    {#module "::" #interface "::" #operation, #support},
#include "ems_operations.inc"
#undef EMS_OPERATION
};

}  // namespace

void EmsMgr_IImpl::getCapabilities(common::CapabilityList_T_out capabilities) {
    common::CapabilityList_T_var list = new common::CapabilityList_T;
    list->length(std::size(kCapabilities));
    for (CORBA::ULong i = 0; i < list->length(); ++i) {
        list[i].name = CORBA::string_dup(kCapabilities[i].name);
        list[i].value = CORBA::string_dup(kCapabilities[i].value);
    }
    capabilities = list._retn();
}

void EmsMgr_IImpl::getEMS(emsMgr::EMS_T_out emsInfo) {
    emsInfo = describeEms();
}

}  // namespace kelp::ems
