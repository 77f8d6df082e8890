#pragma once

#include <kelp/inventory/object_name.h>
#include <mtnm/globaldefs.h>
#include <mtnm/transmissionParameters.h>

#include <string>

namespace kelp::managers {

/// Return the name of this EMS. The names of all its objects begin with it. It changes only with a
/// restart.
const std::string& emsName();

// All toIdl functions fill a default-constructed structure.

void toIdl(const inventory::NameValues& values, globaldefs::NVSList_T& list);

// Convert to the naming attributes of an object of this EMS (TMF 814, SD1-25). The object may be of
// any kind.
void toIdl(const inventory::TpName& name, globaldefs::NamingAttributes_T& attributes);
void toIdl(const inventory::ObjectName& name, globaldefs::NamingAttributes_T& attributes);
/// Fill in the naming attributes of a row's object without copying its texts first. Row is one of
/// ManagedElement, EquipmentHolder, Equipment, TerminationPoint, TopologicalLink, Subnetwork.
template <class Row>
void nameToIdl(const Row& row, globaldefs::NamingAttributes_T& name);

/// Return a readable form of a name: "ManagedElement=Berlin, PTP=/shelf=1/port=2".
std::string nameText(const globaldefs::NamingAttributes_T& attributes);

/// Return the object name that the attributes stand for. Refuse malformed attributes with
/// kNotAName. With `[ems] lenient_names` the name of the EMS may be missing.
inventory::ObjectName objectNamed(const globaldefs::NamingAttributes_T& attributes);

/// The same for an operation that takes only objects of one kind.
template <class Name>
Name named(const globaldefs::NamingAttributes_T& attributes);
extern template inventory::ManagedElementName named(const globaldefs::NamingAttributes_T&);
extern template inventory::HolderName named(const globaldefs::NamingAttributes_T&);
extern template inventory::EquipmentName named(const globaldefs::NamingAttributes_T&);
extern template inventory::TpName named(const globaldefs::NamingAttributes_T&);
extern template inventory::LinkName named(const globaldefs::NamingAttributes_T&);
extern template inventory::SubnetworkName named(const globaldefs::NamingAttributes_T&);

/// Return the layer rates that the caller lists. Refuse with kNotALayerRate, naming `parameter`.
inventory::LayerRates layerRates(const transmissionParameters::LayerRateList_T& rates,
                                 const char* parameter);

}  // namespace kelp::managers
