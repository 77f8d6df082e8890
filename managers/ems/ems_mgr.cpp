#include "ems_mgr.h"

#include "common/attributes.h"
#include "ems_description.h"

namespace kelp::ems {

namespace {

constexpr managers::Capability kCapabilities[] = {
#define MANAGER_OPERATION MANAGER_CAPABILITY
#include "ems_operations.inc"
#undef MANAGER_OPERATION
};

constexpr auto kKinds = {inventory::ObjectKind::Ems, inventory::ObjectKind::TopologicalLink};

}  // namespace

void EmsMgr_IImpl::getCapabilities(common::CapabilityList_T_out capabilities) {
    capabilities = managers::capabilityList(kCapabilities);
}

void EmsMgr_IImpl::setUserLabel(const globaldefs::NamingAttributes_T& object, const char* label,
                                CORBA::Boolean isUnique) {
    managers::setUserLabel(kKinds, object, label, isUnique);
    attributes_.forget();
}

void EmsMgr_IImpl::setNativeEMSName(const globaldefs::NamingAttributes_T& object,
                                    const char* name) {
    managers::setNativeEmsName(kKinds, object, name);
}

void EmsMgr_IImpl::setOwner(const globaldefs::NamingAttributes_T& object, const char* owner) {
    managers::setOwner(kKinds, object, owner);
    attributes_.forget();
}

void EmsMgr_IImpl::getEMS(emsMgr::EMS_T_out emsInfo) {
    emsInfo = describeEms(attributes_.get());
}

}  // namespace kelp::ems
