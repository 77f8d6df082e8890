#pragma once

#include <kelp/inventory/encoded_rows.h>
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

/// Selects ports of an element. An empty list of rates accepts every port.
struct PortFilter {
    LayerRates layers;            ///< the port has at least one of these layers
    LayerRates connectableRates;  ///< the port, or a termination point that it contains, can be
                                  ///< connected at one or more of these rates
    bool withPtps = true;
    bool withFtps = true;
};

/// Which contained objects a query returns: those directly in the container, or those at any depth.
enum class Depth { Direct, All };

/// Which attributes of a row are read: all, those of the standard's structure (which needs fewer
/// tables), or the id and the name only.
enum class Detail { All, Standard, Name };

/// Which contained termination points a query returns: all, or only connected ones.
enum class ContainedTps { All, InUse };

/// Outcome of a change to one object.
enum class Change { Made, NoSuchObject, LabelInUse };

/// Numbers of objects in the inventory, and the size of its file.
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
        elementsByProduct;        ///< the most frequent product first
    std::uint64_t fileBytes = 0;  ///< size of the database, without its write-ahead log
};

/// The inventory of one EMS in a SQLite file: managed elements, the multilayer subnetworks that
/// contain them, their equipment, their termination points, and the links between them. Other
/// processes may write the file at the same time, for example during an import. Every operation
/// sees the data that was committed when it began.
///
/// Queries return a snapshot of row ids, and read() turns row ids into rows, batch by batch. No
/// transaction stays open between two calls, so a slow reader does not hold up writers. Row ids
/// grow in the order in which rows are inserted.
///
/// Any thread may call any operation at any time. Every reader uses a separate connection and never
/// waits. Writers take turns. All operations throw InventoryFailure.
class KELP_EXPORT Inventory {
  public:
    enum class Missing { IsMade, IsAnError };

    /// Open the file. A missing file is created with mode 0600, and its folder with it, unless
    /// `missing` makes that an error. An inventory of an earlier version is migrated.
    explicit Inventory(const std::filesystem::path& file, Missing missing = Missing::IsMade);
    ~Inventory();
    Inventory(const Inventory&) = delete;
    Inventory& operator=(const Inventory&) = delete;

    /// Return whether the path still leads to the file that was opened. False once the file was
    /// deleted or replaced. The owner should then open the inventory anew, because this object can
    /// at best show the content of the old file. Costs one stat() call.
    bool isCurrent() const;

    // Find one object by its name.
    std::optional<ManagedElement> find(const ManagedElementName& name);
    std::optional<EquipmentHolder> find(const HolderName& name);
    std::optional<Equipment> find(const EquipmentName& name);
    std::optional<TerminationPoint> find(const TpName& name);
    std::optional<TopologicalLink> find(const LinkName& name);
    std::optional<Subnetwork> find(const SubnetworkName& name);
    /// Never empty.
    std::optional<EmsAttributes> find(const EmsName& name);

    /// Return the attributes of the EMS; default-constructed while none were ever set.
    EmsAttributes ems();

    // Return the ids of rows. An id that belongs to no object gives an empty result.
    RowIds elements();
    RowIds holdersOf(std::int64_t elementId, Depth depth);
    RowIds holdersIn(std::int64_t holderId, Depth depth);
    RowIds equipmentOf(std::int64_t elementId);
    /// The equipment in the holder itself, or with Depth::All also in the holders that it contains.
    RowIds equipmentIn(std::int64_t holderId, Depth depth);
    RowIds portsOf(std::int64_t elementId, const PortFilter& filter = {});
    RowIds allPorts();
    RowIds portsOn(std::int64_t equipmentId);
    /// The CTPs in a port or CTP that have at least one of the layers. Empty `layers` accepts every
    /// CTP.
    RowIds tpsIn(std::int64_t tpId, const LayerRates& layers, Depth depth,
                 ContainedTps which = ContainedTps::All);
    /// The termination points that contain a CTP: the innermost first, its port last.
    RowIds tpsAround(std::int64_t tpId);
    RowIds links();
    /// The links with at least one end at the element.
    RowIds linksOf(std::int64_t elementId);
    /// The links with both ends at elements of the subnetwork.
    RowIds linksInside(std::int64_t subnetworkId);
    /// The links whose two ends have no subnetwork in common: all links if there are no
    /// subnetworks.
    RowIds topLevelLinks();
    RowIds subnetworks();
    RowIds elementsOf(std::int64_t subnetworkId);
    RowIds subnetworksOf(std::int64_t elementId);
    /// The ports of the subnetwork's elements that are edge points of their subnetworks.
    RowIds edgePointsOf(std::int64_t subnetworkId, const PortFilter& filter = {});

    /// Read the rows in the order of the ids, within one read transaction. Rows that no longer
    /// exist are left out. Row is ManagedElement, EquipmentHolder, Equipment, TerminationPoint,
    /// TopologicalLink or Subnetwork.
    template <class Row>
    std::vector<Row> read(const RowIds& ids);
    /// As read(), with only the id and the name of each row. All other members are
    /// default-constructed.
    template <class Row>
    std::vector<Row> readNames(const RowIds& ids);
    /// As read(), but pass the rows to `take` one after the other instead of building a list.
    /// `take` gets the same object each time, with the members that `detail` asks for filled in. It
    /// may read from the inventory. An exception that it throws ends the reading.
    template <class Row>
    void readEach(const RowIds& ids, Detail detail, const std::function<void(const Row&)>& take);

    /// Append rows to `rows` in their encoded form, in the order of the ids, within one read
    /// transaction. Rows that no longer exist are left out. Returns the number of ids that were
    /// read: all, or fewer if encoding.octetsMax was reached. Row is as for read().
    template <class Row>
    std::uint64_t readEncoded(const RowIds& ids, const Encoding& encoding, EncodedRows& rows);
    /// Number of rows whose stored encoded form readEncoded() could not use, because it was damaged
    /// or of another version. They were encoded from their columns.
    std::uint64_t unfitRows() const;

    Statistics statistics();

    // Change one attribute of the row with that kind and id. The id of the EMS is
    // EmsAttributes::id.
    /// With `isUnique`, change nothing if another object of the kind has the label; that check
    /// reads all rows of the kind.
    Change setUserLabel(ObjectKind kind, std::int64_t id, const std::string& label, bool isUnique);
    /// Throws for the EMS, whose native name comes from the configuration.
    Change setNativeEmsName(ObjectKind kind, std::int64_t id, const std::string& name);
    Change setOwner(ObjectKind kind, std::int64_t id, const std::string& owner);

    /// How long a change waits while another process is writing. Default: 2 s.
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

extern template KELP_EXPORT std::uint64_t Inventory::readEncoded<ManagedElement>(const RowIds&,
                                                                                 const Encoding&,
                                                                                 EncodedRows&);
extern template KELP_EXPORT std::uint64_t Inventory::readEncoded<EquipmentHolder>(const RowIds&,
                                                                                  const Encoding&,
                                                                                  EncodedRows&);
extern template KELP_EXPORT std::uint64_t Inventory::readEncoded<Equipment>(const RowIds&,
                                                                            const Encoding&,
                                                                            EncodedRows&);
extern template KELP_EXPORT std::uint64_t Inventory::readEncoded<TerminationPoint>(const RowIds&,
                                                                                   const Encoding&,
                                                                                   EncodedRows&);
extern template KELP_EXPORT std::uint64_t Inventory::readEncoded<TopologicalLink>(const RowIds&,
                                                                                  const Encoding&,
                                                                                  EncodedRows&);
extern template KELP_EXPORT std::uint64_t Inventory::readEncoded<Subnetwork>(const RowIds&,
                                                                             const Encoding&,
                                                                             EncodedRows&);

/// The file of the key inventory.database, or the default file in the state directory.
KELP_EXPORT std::filesystem::path configuredInventory();

}  // namespace kelp::inventory
