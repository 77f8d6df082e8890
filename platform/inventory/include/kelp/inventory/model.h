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

// The enumerators have the standard's order, so that their numbers are the standard's too.
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

/// What a termination point is: a physical or floating port, or a connection point in a port.
enum class TpKind { Ptp, Ftp, Ctp };

/// The kind of object that a row describes.
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
    TpKind portKind = TpKind::Ptp;  ///< Ptp or Ftp: the kind of `port`
    std::string port;               ///< value of the component PTP or FTP
    std::string ctp;                ///< value of the component CTP; empty for the port itself
    bool operator==(const TpName&) const = default;

    TpKind kind() const { return ctp.empty() ? portKind : TpKind::Ctp; }
};

// Rows of the inventory. `id` identifies a row as long as it exists, and no other row ever gets the
// same id. Names are values of the standard's naming attributes without the EMS. Texts are UTF-8.

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
    LayerRates supportedRates;  ///< rates of the connections that the element can make
    NameValues additionalInfo;
    /// Names of all multilayer subnetworks that contain the element. Not part of the standard's
    /// structure.
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
    std::string expectedOrInstalledEquipment;  ///< value of the component Equipment of the board in
                                               ///< it; empty: none
    std::vector<std::string> acceptableEquipmentTypeList;
    HolderState holderState = HolderState::Unknown;
    NameValues additionalInfo;
};

/// equipment::Equipment_T.
struct Equipment {
    std::int64_t id = 0;
    std::string managedElement;
    std::string holder;  ///< name of the holder that contains it
    std::string name;    ///< "1" if it is the only board of its holder
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
    /// Rates at which the point, or a point that it contains, can be connected. Not part of the
    /// standard's structure; queries select by it.
    LayerRates connectableRates;
    /// The equipment that a port is on. Empty if it is not known, and for a CTP, which is on the
    /// equipment of its port.
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
    LayerRates supportedRates;  ///< rates of the connections that can be made across it
    NameValues additionalInfo;
};

/// The members of emsMgr::EMS_T other than the name and the native name, which come from the
/// configuration. The inventory has exactly one.
struct EmsAttributes {
    std::int64_t id = 1;
    std::string userLabel;  ///< empty: none was set, and the native name is used instead (TMF 814)
    std::string owner;
    NameValues additionalInfo;
};

}  // namespace kelp::inventory
