// The ports of an element.

#include "common/find_object.h"
#include "common/port_filter.h"
#include "common/row_lists.h"
#include "managed_element_mgr.h"

namespace kelp::managedelement {

namespace {

using globaldefs::NamingAttributes_T;
using inventory::Inventory;
using transmissionParameters::LayerRateList_T;

/// Which ports an operation returns. Since level 3.0 getAllPTPs also returns the floating ones.
enum class Ports { All, Physical, Floating };

/// The query for the ports of the element that have one of the rates and can be connected at one of
/// the connection rates.
auto portsOf(const NamingAttributes_T& element, const LayerRateList_T& rates,
             const LayerRateList_T& connectionRates, Ports which) {
    inventory::PortFilter filter =
        managers::portFilter({rates, "tpLayerRateList"}, connectionRates);
    filter.withPtps = which != Ports::Floating;
    filter.withFtps = which != Ports::Physical;
    return [&element, filter](Inventory& in) {
        return in.portsOf(managers::findRow<inventory::ManagedElementName>(in, element).id, filter);
    };
}

}  // namespace

void ManagedElementMgr_I::getAllPTPs(const NamingAttributes_T& element,
                                     const LayerRateList_T& rates,
                                     const LayerRateList_T& connectionRates, CORBA::ULong howMany,
                                     terminationPoint::TerminationPointList_T_out list,
                                     terminationPoint::TerminationPointIterator_I_out iterator) {
    iterator = managers::giveRows<managers::PointLists>(
        howMany, list, portsOf(element, rates, connectionRates, Ports::All));
}

void ManagedElementMgr_I::getAllPTPsWithoutFTPs(
    const NamingAttributes_T& element, const LayerRateList_T& rates,
    const LayerRateList_T& connectionRates, CORBA::ULong howMany,
    terminationPoint::TerminationPointList_T_out list,
    terminationPoint::TerminationPointIterator_I_out iterator) {
    iterator = managers::giveRows<managers::PointLists>(
        howMany, list, portsOf(element, rates, connectionRates, Ports::Physical));
}

void ManagedElementMgr_I::getAllFTPs(const NamingAttributes_T& element,
                                     const LayerRateList_T& rates,
                                     const LayerRateList_T& connectionRates, CORBA::ULong howMany,
                                     terminationPoint::TerminationPointList_T_out list,
                                     terminationPoint::TerminationPointIterator_I_out iterator) {
    iterator = managers::giveRows<managers::PointLists>(
        howMany, list, portsOf(element, rates, connectionRates, Ports::Floating));
}

void ManagedElementMgr_I::getAllPTPNames(const NamingAttributes_T& element,
                                         const LayerRateList_T& rates,
                                         const LayerRateList_T& connectionRates,
                                         CORBA::ULong howMany,
                                         globaldefs::NamingAttributesList_T_out list,
                                         globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator = managers::giveNames<inventory::TerminationPoint>(
        howMany, list, portsOf(element, rates, connectionRates, Ports::All));
}

void ManagedElementMgr_I::getAllPTPNamesWithoutFTPs(
    const NamingAttributes_T& element, const LayerRateList_T& rates,
    const LayerRateList_T& connectionRates, CORBA::ULong howMany,
    globaldefs::NamingAttributesList_T_out list,
    globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator = managers::giveNames<inventory::TerminationPoint>(
        howMany, list, portsOf(element, rates, connectionRates, Ports::Physical));
}

void ManagedElementMgr_I::getAllFTPNames(const NamingAttributes_T& element,
                                         const LayerRateList_T& rates,
                                         const LayerRateList_T& connectionRates,
                                         CORBA::ULong howMany,
                                         globaldefs::NamingAttributesList_T_out list,
                                         globaldefs::NamingAttributesIterator_I_out iterator) {
    iterator = managers::giveNames<inventory::TerminationPoint>(
        howMany, list, portsOf(element, rates, connectionRates, Ports::Floating));
}

}  // namespace kelp::managedelement
