// The elements, links and edge points of a subnetwork.

#include "common/find_object.h"
#include "common/port_filter.h"
#include "common/row_lists.h"
#include "subnetwork_mgr.h"

namespace kelp::multilayersubnetwork {

namespace {

using globaldefs::NamingAttributes_T;
using inventory::Inventory;
using transmissionParameters::LayerRateList_T;

std::int64_t subnetworkId(Inventory& in, const NamingAttributes_T& name) {
    return managers::findRow<inventory::SubnetworkName>(in, name).id;
}

auto elementsOf(const NamingAttributes_T& subnetwork) {
    return [&subnetwork](Inventory& in) { return in.elementsOf(subnetworkId(in, subnetwork)); };
}

auto linksInside(const NamingAttributes_T& subnetwork) {
    return [&subnetwork](Inventory& in) { return in.linksInside(subnetworkId(in, subnetwork)); };
}

auto edgePointsOf(const NamingAttributes_T& subnetwork, const inventory::PortFilter& filter) {
    return [&subnetwork, filter](Inventory& in) {
        return in.edgePointsOf(subnetworkId(in, subnetwork), filter);
    };
}

}  // namespace

void MultiLayerSubnetworkMgr_I::getAllManagedElements(
    const NamingAttributes_T& subnetwork, CORBA::ULong howMany,
    managedElement::ManagedElementList_T_out list,
    managedElement::ManagedElementIterator_I_out iterator) {
    iterator = managers::giveRows<managers::ElementLists>(howMany, list, elementsOf(subnetwork));
}

void MultiLayerSubnetworkMgr_I::getAllManagedElementNames(
    const NamingAttributes_T& subnetwork, CORBA::ULong howMany,
    globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator =
        managers::giveNames<inventory::ManagedElement>(howMany, list, elementsOf(subnetwork));
}

void MultiLayerSubnetworkMgr_I::getAllTopologicalLinks(
    const NamingAttributes_T& subnetwork, CORBA::ULong howMany,
    topologicalLink::TopologicalLinkList_T_out list,
    topologicalLink::TopologicalLinkIterator_I_out iterator) {
    iterator = managers::giveRows<managers::LinkLists>(howMany, list, linksInside(subnetwork));
}

void MultiLayerSubnetworkMgr_I::getAllTopologicalLinkNames(
    const NamingAttributes_T& subnetwork, CORBA::ULong howMany,
    globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator =
        managers::giveNames<inventory::TopologicalLink>(howMany, list, linksInside(subnetwork));
}

void MultiLayerSubnetworkMgr_I::getAllEdgePoints(
    const NamingAttributes_T& subnetwork, const LayerRateList_T& rates,
    const LayerRateList_T& connectionRates, CORBA::ULong howMany,
    terminationPoint::TerminationPointList_T_out list,
    terminationPoint::TerminationPointIterator_I_out iterator) {
    const auto filter = managers::portFilter({rates, "tpLayerRateList"}, connectionRates);
    iterator =
        managers::giveRows<managers::PointLists>(howMany, list, edgePointsOf(subnetwork, filter));
}

void MultiLayerSubnetworkMgr_I::getAllEdgePointNames(
    const NamingAttributes_T& subnetwork, const LayerRateList_T& rates,
    const LayerRateList_T& connectionRates, CORBA::ULong howMany,
    globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    const auto filter = managers::portFilter({rates, "layerRateList"}, connectionRates);
    iterator = managers::giveNames<inventory::TerminationPoint>(howMany, list,
                                                                edgePointsOf(subnetwork, filter));
}

}  // namespace kelp::multilayersubnetwork
