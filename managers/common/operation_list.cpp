#include "operation_list.h"

namespace kelp::managers {

common::CapabilityList_T* capabilityList(std::span<const Capability> capabilities) {
    common::CapabilityList_T_var list = new common::CapabilityList_T;
    list->length(static_cast<CORBA::ULong>(capabilities.size()));
    CORBA::ULong at = 0;
    for (const Capability& each : capabilities) {
        list[at].name = CORBA::string_dup(each.name);
        list[at].value = CORBA::string_dup(each.value);
        ++at;
    }
    return list._retn();
}

}  // namespace kelp::managers
