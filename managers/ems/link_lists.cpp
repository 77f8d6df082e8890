// The topological links that lie in no subnetwork.

#include "common/find_object.h"
#include "common/row_lists.h"
#include "ems_mgr.h"

namespace kelp::ems {

using inventory::Inventory;

void EmsMgr_IImpl::getAllTopLevelTopologicalLinks(
    CORBA::ULong howMany, topologicalLink::TopologicalLinkList_T_out list,
    topologicalLink::TopologicalLinkIterator_I_out iterator) {
    iterator = managers::giveRows<managers::LinkLists>(
        howMany, list, [](Inventory& in) { return in.topLevelLinks(); });
}

void EmsMgr_IImpl::getAllTopLevelTopologicalLinkNames(
    CORBA::ULong howMany, globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator = managers::giveNames<inventory::TopologicalLink>(
        howMany, list, [](Inventory& in) { return in.topLevelLinks(); });
}

void EmsMgr_IImpl::getTopLevelTopologicalLink(const globaldefs::NamingAttributes_T& name,
                                              topologicalLink::TopologicalLink_T_out link) {
    link = managers::getObject<inventory::LinkName, topologicalLink::TopologicalLink_T>(name);
}

}  // namespace kelp::ems
