#pragma once

#include <kelp/inventory/object_name.h>
#include <mtnm/globaldefs.h>
#include <mtnm/transmissionParameters.h>

#include <string>

namespace kelp::managers {

/// The name of this EMS, which the names of all its objects begin with. It changes only with a
/// restart.
const std::string& emsName();

// All of these fill what is as newly made.

void toIdl(const inventory::NameValues& values, globaldefs::NVSList_T& list);

// The naming attributes of an object of this EMS (TMF 814, SD1-25), which may be of any kind.
void toIdl(const inventory::TpName& name, globaldefs::NamingAttributes_T& attributes);
void toIdl(const inventory::ObjectName& name, globaldefs::NamingAttributes_T& attributes);
/// Those of a row's object, without a copy of their texts in between. Row is one of ManagedElement,
/// EquipmentHolder, Equipment, TerminationPoint, TopologicalLink, Subnetwork.
template <class Row>
void nameToIdl(const Row& row, globaldefs::NamingAttributes_T& name);

/// A name for people: "ManagedElement=Berlin, PTP=/shelf=1/port=2".
std::string nameText(const globaldefs::NamingAttributes_T& attributes);

/// The object that a caller names; refuses with kNotAName what is the name of none. With `[ems]
/// lenient_names` the EMS need not be named.
inventory::ObjectName objectNamed(const globaldefs::NamingAttributes_T& attributes);

/// The same for an operation that takes one kind of object.
template <class Name>
Name named(const globaldefs::NamingAttributes_T& attributes);
extern template inventory::ManagedElementName named(const globaldefs::NamingAttributes_T&);
extern template inventory::HolderName named(const globaldefs::NamingAttributes_T&);
extern template inventory::EquipmentName named(const globaldefs::NamingAttributes_T&);
extern template inventory::TpName named(const globaldefs::NamingAttributes_T&);
extern template inventory::LinkName named(const globaldefs::NamingAttributes_T&);
extern template inventory::SubnetworkName named(const globaldefs::NamingAttributes_T&);

/// The layer rates that a caller lists in the parameter; refuses with kNotALayerRate.
inventory::LayerRates layerRates(const transmissionParameters::LayerRateList_T& rates,
                                 const char* parameter);

}  // namespace kelp::managers
