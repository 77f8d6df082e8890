// The multilayer subnetworks of the EMS. All are top-level ones, because none contains another.

#include "common/row_lists.h"
#include "ems_mgr.h"

namespace kelp::ems {

using inventory::Inventory;

void EmsMgr_IImpl::getAllTopLevelSubnetworks(
    CORBA::ULong howMany, multiLayerSubnetwork::SubnetworkList_T_out list,
    multiLayerSubnetwork::SubnetworkIterator_I_out iterator) {
    iterator = managers::giveRows<managers::SubnetworkLists>(
        howMany, list, [](Inventory& in) { return in.subnetworks(); });
}

void EmsMgr_IImpl::getAllTopLevelSubnetworkNames(
    CORBA::ULong howMany, globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator = managers::giveNames<inventory::Subnetwork>(
        howMany, list, [](Inventory& in) { return in.subnetworks(); });
}

}  // namespace kelp::ems
