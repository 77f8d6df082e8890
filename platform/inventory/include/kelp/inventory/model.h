#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <string>
#include <vector>

namespace kelp::inventory {

/// A name with a value, and an ordered list of them (globaldefs::NVSList_T).
struct NameValue {
    std::string name;
    std::string value;
    bool operator==(const NameValue&) const = default;
};
using NameValues = std::vector<NameValue>;

/// A layer rate by its number (transmissionParameters::LayerRate_T).
using LayerRate = std::int16_t;
using LayerRates = std::vector<LayerRate>;

/// One layer of a termination point with its parameters
/// (transmissionParameters::LayeredParameters_T).
struct LayeredParameters {
    LayerRate layer = 0;
    NameValues parameters;
    bool operator==(const LayeredParameters&) const = default;
};
using LayeredParameterList = std::vector<LayeredParameters>;

// The enumerations have the standard's values in the standard's order, so that a number is the same
// in both.
enum class CommunicationState { Available, Unavailable };
enum class ServiceState { InService, OutOfService, OutOfServiceByMaintenance, NotApplicable };
enum class HolderState {
    Empty,
    InstalledAndExpected,
    ExpectedAndNotInstalled,
    InstalledAndNotExpected,
    MismatchOfInstalledAndExpected,
    Unavailable,
    Unknown
};
enum class Directionality { NotApplicable, Bidirectional, Source, Sink };
enum class TpConnectionState {
    NotApplicable,
    SourceConnected,
    SinkConnected,
    BiConnected,
    NotConnected
};
enum class TerminationMode { NotApplicable, NeitherTerminatedNorAvailable, TerminatedAndAvailable };
enum class TpProtection { NotApplicable, PsrRelated };
enum class LinkDirection { Unidirectional, Bidirectional };
enum class Topology { Singleton, Chain, Psr, OpenPsr, Spring, OpenSpring, Mesh };

/// What a termination point is: a port (physical or floating) or a connection point in one.
enum class TpKind { Ptp, Ftp, Ctp };

/// Which kind of object a row is.
enum class ObjectKind {
    ManagedElement,
    EquipmentHolder,
    Equipment,
    TerminationPoint,
    TopologicalLink,
    Subnetwork,
    Ems
};

/// The name of a termination point, without the EMS.
struct TpName {
    std::string managedElement;
    TpKind portKind = TpKind::Ptp;  ///< Ptp or Ftp: what `port` is
    std::string port;               ///< value of the component PTP or FTP
    std::string ctp;                ///< value of the component CTP; empty: the port itself
    bool operator==(const TpName&) const = default;

    TpKind kind() const { return ctp.empty() ? portKind : TpKind::Ctp; }
};

// Rows of the inventory. `id` is a row's number for as long as it lives; it is never given to
// another row. Names are values of the standard's naming attributes without the EMS; texts are
// UTF-8.

/// managedElement::ManagedElement_T.
struct ManagedElement {
    std::int64_t id = 0;
    std::string name;
    std::string userLabel;
    std::string nativeEMSName;  ///< never empty
    std::string owner;
    std::string location;
    std::string version;
    std::string productName;  ///< never empty
    CommunicationState communicationState = CommunicationState::Available;
    bool emsInSyncState = true;
    LayerRates supportedRates;  ///< at which the element connects
    NameValues additionalInfo;
    /// Names of the multilayer subnetworks that it is in, as many as they are; beyond the
    /// standard's structure.
    std::vector<std::string> subnetworks;
};

/// equipment::EquipmentHolder_T.
struct EquipmentHolder {
    std::int64_t id = 0;
    std::string managedElement;
    std::string name;  ///< such as "/rack=1/shelf=1/slot=2"
    std::string userLabel;
    std::string nativeEMSName;
    std::string owner;
    bool alarmReportingIndicator = true;
    std::string holderType;  ///< "rack", "shelf", "sub_shelf", "slot" or "sub_slot"
    std::string
        expectedOrInstalledEquipment;  ///< value of the component Equipment in it; empty: none
    std::vector<std::string> acceptableEquipmentTypeList;
    HolderState holderState = HolderState::Unknown;
    NameValues additionalInfo;
};

/// equipment::Equipment_T.
struct Equipment {
    std::int64_t id = 0;
    std::string managedElement;
    std::string holder;  ///< name of the holder that it is in
    std::string name;    ///< "1" for the only board of a holder
    std::string userLabel;
    std::string nativeEMSName;
    std::string owner;
    bool alarmReportingIndicator = true;
    ServiceState serviceState = ServiceState::InService;
    std::string expectedEquipmentObjectType;
    std::string installedEquipmentObjectType;
    std::string installedPartNumber;
    std::string installedVersion;
    std::string installedSerialNumber;
    NameValues additionalInfo;
};

/// terminationPoint::TerminationPoint_T.
struct TerminationPoint {
    std::int64_t id = 0;
    TpName name;
    std::string userLabel;
    std::string nativeEMSName;
    std::string owner;
    std::string
        ingressTrafficDescriptorName;  ///< value of the component TrafficDescriptor; empty: none
    std::string egressTrafficDescriptorName;
    TpConnectionState connectionState = TpConnectionState::NotApplicable;
    TerminationMode tpMappingMode = TerminationMode::NotApplicable;
    Directionality direction = Directionality::Bidirectional;
    LayeredParameterList transmissionParams;
    TpProtection tpProtectionAssociation = TpProtection::NotApplicable;
    bool edgePoint = false;
    NameValues additionalInfo;
    /// Rates at which the point, or what it contains, can be connected; beyond the standard's
    /// structure, for the connection rates that a query names.
    LayerRates connectableRates;
    /// The equipment that a port stands on; empty: not known, and for a CTP, which has that of its
    /// port.
    std::string supportingEquipmentHolder;
    std::string supportingEquipment;
};

/// topologicalLink::TopologicalLink_T.
struct TopologicalLink {
    std::int64_t id = 0;
    std::string name;
    std::string userLabel;
    std::string nativeEMSName;
    std::string owner;
    LinkDirection direction = LinkDirection::Bidirectional;
    LayerRate rate = 0;
    TpName aEnd;
    TpName zEnd;
    NameValues additionalInfo;
};

/// multiLayerSubnetwork::MultiLayerSubnetwork_T.
struct Subnetwork {
    std::int64_t id = 0;
    std::string name;
    std::string userLabel;
    std::string nativeEMSName;
    std::string owner;
    Topology subnetworkType = Topology::Mesh;
    LayerRates supportedRates;  ///< at which connections across it can be made
    NameValues additionalInfo;
};

/// What emsMgr::EMS_T has beyond the configuration, from which its name and native name come. There
/// is one.
struct EmsAttributes {
    std::int64_t id = 1;
    std::string userLabel;  ///< empty: none was given, and the native name stands for it (TMF 814)
    std::string owner;
    NameValues additionalInfo;
};

}  // namespace kelp::inventory
