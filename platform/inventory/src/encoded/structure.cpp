#include "encoded/structure.h"

#include <type_traits>

#include "names/words.h"

namespace kelp::inventory {

namespace {

/// Writes the members of a structure in their order.
class StructureWriter {
  public:
    explicit StructureWriter(Structure& structure)
        : structure_(structure), cdr_(structure.octets) {}

    /// A name of this EMS, from its components after the EMS.
    template <class Name>
    void name(const Name& components) {
        std::uint32_t count = 1;
        eachComponent(components, [&](const char*, const std::string&) { ++count; });
        cdr_.number(count);
        emsComponent();
        eachComponent(components, [&](const char* component, const std::string& value) {
            cdr_.text(component);
            cdr_.text(value);
        });
    }
    /// The name of a traffic descriptor; an empty list for an empty value.
    void descriptor(const std::string& value) {
        cdr_.number(value.empty() ? 0 : 2);
        if (value.empty())
            return;
        emsComponent();
        cdr_.text("TrafficDescriptor");
        cdr_.text(value);
    }
    void noName() { cdr_.number(0); }

    /// What all objects begin with: name, labels and owner.
    template <class Row, class Name>
    void head(const Row& row, const Name& itsName) {
        name(itsName);
        structure_.nameLength = static_cast<std::uint32_t>(cdr_.size());
        cdr_.text(row.userLabel);
        cdr_.text(row.nativeEMSName);
        cdr_.text(row.owner);
    }
    void pairs(const NameValues& values) {
        cdr_.number(static_cast<std::uint32_t>(values.size()));
        for (const NameValue& each : values) {
            cdr_.text(each.name);
            cdr_.text(each.value);
        }
    }
    void rates(const LayerRates& rates) {
        cdr_.number(static_cast<std::uint32_t>(rates.size()));
        for (const LayerRate rate : rates)
            cdr_.rate(rate);
    }
    void texts(const std::vector<std::string>& all) {
        cdr_.number(static_cast<std::uint32_t>(all.size()));
        for (const std::string& each : all)
            cdr_.text(each);
    }
    void layers(const LayeredParameterList& layers) {
        cdr_.number(static_cast<std::uint32_t>(layers.size()));
        for (const LayeredParameters& each : layers) {
            cdr_.rate(each.layer);
            pairs(each.parameters);
        }
    }
    template <class Enum>
    void choice(Enum value) {
        cdr_.number(static_cast<std::uint32_t>(value));
    }
    void text(const std::string& value) { cdr_.text(value); }
    void flag(bool value) { cdr_.flag(value); }
    void rate(LayerRate value) { cdr_.rate(value); }

  private:
    void emsComponent() {
        cdr_.text("EMS");
        // aligned already: the four octets of "EMS" follow a number
        structure_.emsAt.push_back(static_cast<std::uint32_t>(cdr_.size()));
    }

    Structure& structure_;
    CdrWriter cdr_;
};

void write(const ManagedElement& row, StructureWriter& to) {
    to.head(row, row);
    to.text(row.location);
    to.text(row.version);
    to.text(row.productName);
    to.choice(row.communicationState);
    to.flag(row.emsInSyncState);
    to.rates(row.supportedRates);
}

void write(const EquipmentHolder& row, StructureWriter& to) {
    to.head(row, row);
    to.flag(row.alarmReportingIndicator);
    to.text(row.holderType);
    if (row.expectedOrInstalledEquipment.empty())
        to.noName();
    else
        to.name(EquipmentName{row.managedElement, row.name, row.expectedOrInstalledEquipment});
    to.texts(row.acceptableEquipmentTypeList);
    to.choice(row.holderState);
}

void write(const Equipment& row, StructureWriter& to) {
    to.head(row, row);
    to.flag(row.alarmReportingIndicator);
    to.choice(row.serviceState);
    to.text(row.expectedEquipmentObjectType);
    to.text(row.installedEquipmentObjectType);
    to.text(row.installedPartNumber);
    to.text(row.installedVersion);
    to.text(row.installedSerialNumber);
}

/// TPType_T. Only the last component of its name distinguishes an FTP from a PTP.
enum class TpType : std::uint32_t { Ptp, Ctp, Pool };
constexpr std::uint32_t kTpTypes = 3;

void write(const TerminationPoint& row, StructureWriter& to) {
    to.head(row, row);
    to.descriptor(row.ingressTrafficDescriptorName);
    to.descriptor(row.egressTrafficDescriptorName);
    to.choice(row.name.kind() == TpKind::Ctp ? TpType::Ctp : TpType::Ptp);
    to.choice(row.connectionState);
    to.choice(row.tpMappingMode);
    to.choice(row.direction);
    to.layers(row.transmissionParams);
    to.choice(row.tpProtectionAssociation);
    to.flag(row.edgePoint);
}

void write(const TopologicalLink& row, StructureWriter& to) {
    to.head(row, row);
    to.choice(row.direction);
    to.rate(row.rate);
    to.name(row.aEnd);
    to.name(row.zEnd);
}

void write(const Subnetwork& row, StructureWriter& to) {
    to.head(row, row);
    to.choice(row.subnetworkType);
    to.rates(row.supportedRates);
}

template <class Enum>
constexpr auto kCountOf = static_cast<std::uint32_t>(kWordsOf<Enum>.size());

/// Check what StructureWriter::head() writes.
void checkHead(CdrCheck& in) {
    in.pairs();
    for (int i = 0; i < 3; ++i)
        in.text();
}

/// Check the members between the owner and the additional information.
template <class Row>
void checkMiddle(CdrCheck& in) {
    if constexpr (std::is_same_v<Row, ManagedElement>) {
        for (int i = 0; i < 3; ++i)
            in.text();
        in.choice(kCountOf<CommunicationState>);
        in.flag();
        in.rates();
    } else if constexpr (std::is_same_v<Row, EquipmentHolder>) {
        in.flag();
        in.text();
        in.pairs();
        in.texts();
        in.choice(kCountOf<HolderState>);
    } else if constexpr (std::is_same_v<Row, Equipment>) {
        in.flag();
        in.choice(kCountOf<ServiceState>);
        for (int i = 0; i < 5; ++i)
            in.text();
    } else if constexpr (std::is_same_v<Row, TerminationPoint>) {
        in.pairs();
        in.pairs();
        in.choice(kTpTypes);
        in.choice(kCountOf<TpConnectionState>);
        in.choice(kCountOf<TerminationMode>);
        in.choice(kCountOf<Directionality>);
        in.list([&in] {
            in.rate();
            in.pairs();
        });
        in.choice(kCountOf<TpProtection>);
        in.flag();
    } else if constexpr (std::is_same_v<Row, TopologicalLink>) {
        in.choice(kCountOf<LinkDirection>);
        in.rate();
        in.pairs();
        in.pairs();
    } else {
        in.choice(kCountOf<Topology>);
        in.rates();
    }
}

}  // namespace

void Structure::clear() {
    octets.clear();
    emsAt.clear();
    nameLength = 0;
}

template <class Row>
void encode(const Row& row, Structure& structure) {
    structure.clear();
    StructureWriter to(structure);
    write(row, to);
    to.pairs(row.additionalInfo);
}

template <class Row>
bool isStructure(std::string_view octets) {
    CdrCheck in(octets);
    checkHead(in);
    checkMiddle<Row>(in);
    in.pairs();
    return in.isComplete();
}

bool isName(std::string_view octets) {
    CdrCheck in(octets);
    in.pairs();
    return in.isComplete();
}

template void encode(const ManagedElement&, Structure&);
template void encode(const EquipmentHolder&, Structure&);
template void encode(const Equipment&, Structure&);
template void encode(const TerminationPoint&, Structure&);
template void encode(const TopologicalLink&, Structure&);
template void encode(const Subnetwork&, Structure&);
template bool isStructure<ManagedElement>(std::string_view);
template bool isStructure<EquipmentHolder>(std::string_view);
template bool isStructure<Equipment>(std::string_view);
template bool isStructure<TerminationPoint>(std::string_view);
template bool isStructure<TopologicalLink>(std::string_view);
template bool isStructure<Subnetwork>(std::string_view);

}  // namespace kelp::inventory
