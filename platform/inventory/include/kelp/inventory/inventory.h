#pragma once

#include <kelp/inventory/failure.h>
#include <kelp/inventory/model.h>
#include <kelp/inventory/object_name.h>
#include <kelp/inventory/row_ids.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelp::inventory {

/// Which ports of an element are wanted. Empty lists: any rate.
struct PortFilter {
    LayerRates layers;            ///< a port has at least one of them
    LayerRates connectableRates;  ///< a port, or what it contains, can be connected at one of them
                                  ///< at least
    bool withPtps = true;
    bool withFtps = true;
};

/// Which contained things are wanted: those one component of the name below, or all.
enum class Depth { Direct, All };

/// How much of a row is read: all of it; what the standard's structure has alone, which spares the
/// look at other tables; the id and the name alone.
enum class Detail { All, Standard, Name };

/// Which contained termination points are wanted: all, or those that are connected.
enum class ContainedTps { All, InUse };

/// What became of a change to one object.
enum class Change { Made, NoSuchObject, LabelInUse };

/// How much there is.
struct Statistics {
    std::uint64_t subnetworks = 0;
    std::uint64_t elements = 0;
    std::uint64_t holders = 0;
    std::uint64_t equipment = 0;
    std::uint64_t ptps = 0;
    std::uint64_t ftps = 0;
    std::uint64_t ctps = 0;
    std::uint64_t links = 0;
    std::vector<std::pair<std::string, std::uint64_t>>
        elementsByProduct;        ///< the most frequent first
    std::uint64_t fileBytes = 0;  ///< of the database, without what waits in its log
};

/// The inventory of one EMS in a SQLite file: managed elements, the multilayer subnetworks that
/// they are in, what they are built of, termination points and the links between them. Other
/// processes may write the file meanwhile (an import); every operation sees what was committed when
/// it began.
///
/// Queries give a snapshot of row ids, which read() turns into rows batch by batch: between two
/// calls nothing is open, so a slow reader costs the file nothing. Row ids are in the order in
/// which rows came in.
///
/// Any thread may call any operation at any time: readers have connections of their own and wait
/// for nobody; those that change something take turns. All throw InventoryFailure.
class KELP_EXPORT Inventory {
  public:
    enum class Missing { IsMade, IsAnError };

    /// Opens the file; a missing one is made (mode 0600, with its folder) unless that is an error.
    /// An inventory of an earlier version of this program is brought up to date.
    explicit Inventory(const std::filesystem::path& file, Missing missing = Missing::IsMade);
    ~Inventory();
    Inventory(const Inventory&) = delete;
    Inventory& operator=(const Inventory&) = delete;

    /// Whether the file's name still stands for the file that was opened. It does not once the file
    /// was deleted or replaced by another: this inventory then shows what the old one held, as far
    /// as it shows anything, and its holder should open it anew. Costs one look at the file's
    /// status.
    bool isCurrent() const;

    // One object by its name.
    std::optional<ManagedElement> find(const ManagedElementName& name);
    std::optional<EquipmentHolder> find(const HolderName& name);
    std::optional<Equipment> find(const EquipmentName& name);
    std::optional<TerminationPoint> find(const TpName& name);
    std::optional<TopologicalLink> find(const LinkName& name);
    std::optional<Subnetwork> find(const SubnetworkName& name);
    /// Always there.
    std::optional<EmsAttributes> find(const EmsName& name);

    /// As newly made when nothing was ever told of the EMS.
    EmsAttributes ems();

    // Which rows there are. An id that is no object's gives none.
    RowIds elements();
    RowIds holdersOf(std::int64_t elementId, Depth depth);
    RowIds holdersIn(std::int64_t holderId, Depth depth);
    RowIds equipmentOf(std::int64_t elementId);
    /// The equipment in the holder itself, or also in the holders that it contains.
    RowIds equipmentIn(std::int64_t holderId, Depth depth);
    RowIds portsOf(std::int64_t elementId, const PortFilter& filter = {});
    RowIds allPorts();
    RowIds portsOn(std::int64_t equipmentId);
    /// The CTPs that a port or CTP contains and that have one of the layers (empty: any).
    RowIds tpsIn(std::int64_t tpId, const LayerRates& layers, Depth depth,
                 ContainedTps which = ContainedTps::All);
    /// The points that contain a CTP, the innermost first, its port last.
    RowIds tpsAround(std::int64_t tpId);
    RowIds links();
    /// The links with an end at the element.
    RowIds linksOf(std::int64_t elementId);
    /// The links with both ends at elements of the subnetwork.
    RowIds linksInside(std::int64_t subnetworkId);
    /// The links whose two ends lie in no common subnetwork; all of them where there are no
    /// subnetworks.
    RowIds topLevelLinks();
    RowIds subnetworks();
    RowIds elementsOf(std::int64_t subnetworkId);
    RowIds subnetworksOf(std::int64_t elementId);
    /// The ports of the subnetwork's elements that are edge points of their subnetworks.
    RowIds edgePointsOf(std::int64_t subnetworkId, const PortFilter& filter = {});

    /// The rows in the order of the ids, as one short look at the file; those that are gone are
    /// left out. Row is one of ManagedElement, EquipmentHolder, Equipment, TerminationPoint,
    /// TopologicalLink, Subnetwork.
    template <class Row>
    std::vector<Row> read(const RowIds& ids);
    /// The same with the id and the name of each row alone; all else is as newly made.
    template <class Row>
    std::vector<Row> readNames(const RowIds& ids);
    /// The same one row after the other, without a list of them. `take` gets the same object each
    /// time, which holds what was asked for, and may read from the inventory itself. What it throws
    /// ends the reading.
    template <class Row>
    void readEach(const RowIds& ids, Detail detail, const std::function<void(const Row&)>& take);

    Statistics statistics();

    // What is set is kept for the row of that id and kind; the EMS's is EmsAttributes::id.
    /// With `isUnique`, changes nothing when another object of the kind has the label. Looks
    /// through all of the kind for that.
    Change setUserLabel(ObjectKind kind, std::int64_t id, const std::string& label, bool isUnique);
    /// Not for the EMS, whose native name is configured: that is a failure.
    Change setNativeEmsName(ObjectKind kind, std::int64_t id, const std::string& name);
    Change setOwner(ObjectKind kind, std::int64_t id, const std::string& owner);

    /// How long a change waits for another process that is writing (2 s unless told).
    void setPatience(std::chrono::milliseconds patience);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

extern template KELP_EXPORT std::vector<ManagedElement> Inventory::read(const RowIds&);
extern template KELP_EXPORT std::vector<EquipmentHolder> Inventory::read(const RowIds&);
extern template KELP_EXPORT std::vector<Equipment> Inventory::read(const RowIds&);
extern template KELP_EXPORT std::vector<TerminationPoint> Inventory::read(const RowIds&);
extern template KELP_EXPORT std::vector<TopologicalLink> Inventory::read(const RowIds&);
extern template KELP_EXPORT std::vector<Subnetwork> Inventory::read(const RowIds&);
extern template KELP_EXPORT std::vector<ManagedElement> Inventory::readNames(const RowIds&);
extern template KELP_EXPORT std::vector<EquipmentHolder> Inventory::readNames(const RowIds&);
extern template KELP_EXPORT std::vector<Equipment> Inventory::readNames(const RowIds&);
extern template KELP_EXPORT std::vector<TerminationPoint> Inventory::readNames(const RowIds&);
extern template KELP_EXPORT std::vector<TopologicalLink> Inventory::readNames(const RowIds&);
extern template KELP_EXPORT std::vector<Subnetwork> Inventory::readNames(const RowIds&);
extern template KELP_EXPORT void Inventory::readEach(
    const RowIds&, Detail, const std::function<void(const ManagedElement&)>&);
extern template KELP_EXPORT void Inventory::readEach(
    const RowIds&, Detail, const std::function<void(const EquipmentHolder&)>&);
extern template KELP_EXPORT void Inventory::readEach(const RowIds&, Detail,
                                                     const std::function<void(const Equipment&)>&);
extern template KELP_EXPORT void Inventory::readEach(
    const RowIds&, Detail, const std::function<void(const TerminationPoint&)>&);
extern template KELP_EXPORT void Inventory::readEach(
    const RowIds&, Detail, const std::function<void(const TopologicalLink&)>&);
extern template KELP_EXPORT void Inventory::readEach(const RowIds&, Detail,
                                                     const std::function<void(const Subnetwork&)>&);

/// The file configured ([inventory] database), or the default below the state directory.
KELP_EXPORT std::filesystem::path configuredInventory();

}  // namespace kelp::inventory
