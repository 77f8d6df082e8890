#include "generator/element_builder.h"

#include <algorithm>
#include <iterator>

namespace kelp::inventory {

namespace {

constexpr unsigned kSlotsAShelf = 16;
constexpr unsigned kShelvesARack = 3;

constexpr const char* kTowns[] = {
    "Aldermouth", "Brackwater", "Caldbridge", "Dunmere",     "Eastholm",   "Fernhollow",
    "Greywick",   "Harrowgate", "Inverlock",  "Juniper Bay", "Kingsford",  "Lowmarsh",
    "Millbrook",  "Northquay",  "Oakhaven",   "Pinecross",   "Quarrydale", "Redcliff",
    "Saltmarsh",  "Thornbury",  "Upperdale",  "Vinehall",    "Westering",  "Yarrow"};
constexpr const char* kSites[] = {"Exchange", "Tower", "Depot", "Station", "Data Hall"};

std::string padded(std::uint64_t number, std::size_t digits) {
    const std::string text = std::to_string(number);
    return std::string(digits - std::min(digits, text.size()), '0') + text;
}

std::string regionOf(const ElementShape& shape) {
    return "Region " + std::to_string(shape.ring % 8 + 1);
}

const NameValues kManufacturer = {{"Manufacturer", "Kelp Networks"}};

}  // namespace

ElementBuilder::ElementBuilder(RowWriter& rows, const NetworkPlan& plan)
    : rows_(rows),
      plan_(plan),
      digits_(std::max<std::size_t>(4, std::to_string(plan.elements).size())),
      numbers_(plan.seed ^ 0x6B656C70u) {}

BuiltElement ElementBuilder::build(const ElementShape& shape, std::uint64_t ports) {
    built_ = {};
    references_ = {};
    cards_ = 0;
    town_ = kTowns[shape.ring % std::size(kTowns)];
    if (shape.isHub())
        addRing(shape);
    addElement(shape);
    std::uint64_t left = ports;
    const auto add = [&](const CardType& card, std::uint64_t most, bool isLine) {
        if (left == 0)
            return;
        addCard(card);
        left -= addPorts(card, std::min(left, most), isLine);
    };
    add(*shape.ringCard, 2, true);
    if (shape.isHub())
        add(lineCard64(), 4, true);
    const std::vector<const CardType*>& cards = shape.product->tributaryCards;
    while (left > 0)
        add(*cards[numbers_.below(cards.size())], left, false);
    return built_;
}

void ElementBuilder::addRing(const ElementShape& shape) {
    Subnetwork ring;
    ring.name = ring.nativeEMSName = "Ring-" + padded(shape.ring + 1, digits_);
    ring.userLabel = town_ + " Ring " + std::to_string(shape.ring / std::size(kTowns) + 1);
    ring.owner = regionOf(shape);
    if (shape.ringSize < 3)
        ring.subnetworkType = shape.ringSize == 1 ? Topology::Singleton : Topology::Chain;
    else
        ring.subnetworkType = shape.ringCard == &lineCard64() ? Topology::Spring : Topology::Psr;
    ring.supportedRates = {shape.ringCard->connectable};
    ring_ = rows_.insert(ring, {});
}

void ElementBuilder::addElement(const ElementShape& shape) {
    ManagedElement element;
    element.name = built_.name = "NE-" + padded(shape.number, digits_);
    element.userLabel = town_ + " " + std::to_string(shape.ring / std::size(kTowns) + 1) + "-" +
                        std::to_string(shape.placeInRing + 1);
    element.nativeEMSName = element.name;
    element.owner = shape.isHub() ? "Backbone" : regionOf(shape);
    // drawn one after the other: the order within one expression differs between compilers
    const std::size_t houseNumber = numbers_.below(90) + 10;
    const std::string site = kSites[numbers_.below(std::size(kSites))];
    element.location = town_ + ", " + site + " " + std::to_string(houseNumber);
    element.version = shape.product->version;
    element.productName = shape.product->name;
    element.communicationState =
        numbers_.below(500) == 0 ? CommunicationState::Unavailable : CommunicationState::Available;
    element.emsInSyncState = element.communicationState == CommunicationState::Available;
    for (const CardType* card : shape.product->tributaryCards)
        element.supportedRates.push_back(card->connectable);
    element.supportedRates.push_back(shape.ringCard->connectable);
    std::sort(element.supportedRates.begin(), element.supportedRates.end());
    element.supportedRates.erase(
        std::unique(element.supportedRates.begin(), element.supportedRates.end()),
        element.supportedRates.end());
    element.additionalInfo = kManufacturer;
    References references;
    references.subnetworks = {ring_};
    references_.element = rows_.insert(element, references);
}

void ElementBuilder::addHolder(const std::string& path, const char* type, const std::string& card) {
    EquipmentHolder holder;
    holder.managedElement = built_.name;
    holder.name = path;
    holder.userLabel = holder.nativeEMSName = path.substr(1);
    holder.holderType = type;
    holder.holderState = HolderState::InstalledAndExpected;
    if (!card.empty()) {
        holder.expectedOrInstalledEquipment = "1";
        holder.acceptableEquipmentTypeList = {card};
    }
    references_.holder = rows_.insert(holder, references_);
}

void ElementBuilder::addCard(const CardType& card) {
    const unsigned shelf = cards_ / kSlotsAShelf;
    const std::string rack = "/rack=" + std::to_string(shelf / kShelvesARack + 1);
    const std::string shelfPath = rack + "/shelf=" + std::to_string(shelf % kShelvesARack + 1);
    if (cards_ % kSlotsAShelf == 0) {
        if (shelf % kShelvesARack == 0)
            addHolder(rack, "rack", "");
        addHolder(shelfPath, "shelf", "");
    }
    slot_ = shelfPath + "/slot=" + std::to_string(cards_ % kSlotsAShelf + 1);
    addHolder(slot_, "slot", card.name);
    ++cards_;

    Equipment board;
    board.managedElement = built_.name;
    board.holder = slot_;
    board.name = "1";
    board.userLabel = board.nativeEMSName = std::string(card.name) + "-" + std::to_string(cards_);
    board.expectedEquipmentObjectType = board.installedEquipmentObjectType = card.name;
    board.installedPartNumber = "KN-" + std::string(card.name) + "-A";
    board.installedVersion = "HW" + std::to_string(numbers_.below(4) + 1);
    board.installedSerialNumber = "K" + padded(numbers_.below(1'000'000'000), 9);
    board.additionalInfo = kManufacturer;
    references_.equipment = rows_.insert(board, references_);
}

std::uint64_t ElementBuilder::addPorts(const CardType& card, std::uint64_t left, bool isLine) {
    const std::uint64_t count = std::min<std::uint64_t>(left, card.ports);
    for (std::uint64_t number = 1; number <= count; ++number) {
        TerminationPoint port;
        port.name = {built_.name, TpKind::Ptp, slot_ + "/port=" + std::to_string(number), ""};
        port.nativeEMSName =
            std::to_string(cards_) + "-" + std::string(card.name) + "-" + std::to_string(number);
        port.userLabel =
            isLine || numbers_.below(3) != 0
                ? port.nativeEMSName
                : "Customer " + std::to_string(numbers_.below(90000) + 10000) + " " + town_;
        port.edgePoint = !isLine;
        port.direction = Directionality::Bidirectional;
        for (const LayerRate layer : card.layers)
            port.transmissionParams.push_back({layer, {}});
        if (isLine)
            port.transmissionParams[1].parameters = {{"TrailTraceActualTx", built_.name}};
        port.connectableRates = {card.connectable};
        References references;
        references.element = references_.element;
        references.equipment = references_.equipment;
        const std::int64_t id = rows_.insert(port, references);
        if (!isLine)
            continue;
        built_.linePorts.push_back(id);
        references_.port = id;
        addCtps(port);
    }
    references_.port = 0;
    return count;
}

void ElementBuilder::addCtps(const TerminationPoint& port) {
    constexpr LayerRate kVc4 = 15;
    for (unsigned number = 1; number <= plan_.ctpsPerLine; ++number) {
        TerminationPoint ctp;
        ctp.name = port.name;
        ctp.name.ctp = "/sts3c_au4-j=" + std::to_string(number);
        ctp.userLabel = ctp.nativeEMSName = port.nativeEMSName + "-VC4-" + std::to_string(number);
        ctp.connectionState = numbers_.below(2) == 0 ? TpConnectionState::BiConnected
                                                     : TpConnectionState::NotConnected;
        ctp.tpMappingMode = TerminationMode::NeitherTerminatedNorAvailable;
        ctp.transmissionParams = {{kVc4, {}}};
        ctp.connectableRates = {kVc4};
        References references;
        references.element = references_.element;
        references.port = references_.port;
        rows_.insert(ctp, references);
    }
}

}  // namespace kelp::inventory
