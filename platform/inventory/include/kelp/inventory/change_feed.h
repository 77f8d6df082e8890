#pragma once

#include <kelp/inventory/failure.h>
#include <kelp/inventory/model.h>
#include <kelp/util/export.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <variant>
#include <vector>

namespace kelp::inventory {

using AnyRow = std::variant<ManagedElement, EquipmentHolder, Equipment, TerminationPoint,
                            TopologicalLink, Subnetwork, EmsAttributes>;

/// A committed change to one object of the network.
struct ObjectChange {
    enum class Operation {
        Created,
        Changed,
        Deleted,
        Lost  ///< changes were dropped because nobody read them; an NMS has to read anew
    };

    Operation operation = Operation::Created;
    ObjectKind kind = ObjectKind::Ems;
    /// The components of the object's name after the EMS. Empty for the EMS and for Lost.
    NameValues name;
    bool isEdgePoint = false;
    /// Created: the object. Changed: the object's attributes as they are now; additionalInfo and
    /// the transmission parameters contain what has changed only (TMF 814), a removed one as "-".
    /// For a deleted object only the kind of row has a meaning.
    AnyRow row;
    /// Changed: the names of the changed attributes, of the standard's structure only.
    std::vector<std::string> attributes;
    /// Differs between any two changes, also of different files, and is the same when the change is
    /// read again.
    std::string key;

    std::int64_t entry = 0;  ///< its place in the outbox
    std::int64_t rowId = 0;
};

/// Reads the committed changes of an inventory in their order, from whatever process they came.
/// They stay in the file until they are handed over, also across restarts. There is one reader of a
/// file.
///
/// Changes are recorded from the first time that a ChangeFeed was opened for the file. Several
/// changes of one object's attributes collapse into one if they were not read in between. CTPs are
/// neither created nor deleted (TMF 814), their attributes change. At a million entries all are
/// dropped and Operation::Lost stands for them.
///
/// One thread at a time may use it, except stopWaiting(). Throws InventoryFailure.
class KELP_EXPORT ChangeFeed {
  public:
    /// How often waitForNews() looks for changes by other processes.
    static constexpr std::chrono::milliseconds kPoll{250};

    /// Open the inventory, create it if it is missing, and begin to record.
    explicit ChangeFeed(const std::filesystem::path& file);
    ~ChangeFeed();
    ChangeFeed(const ChangeFeed&) = delete;
    ChangeFeed& operator=(const ChangeFeed&) = delete;

    /// False once the file was deleted or replaced by another one.
    bool isCurrent() const;

    /// Return the next changes that were not handed over, at most `most`; none if there are none.
    /// Returns the same ones again until handedOver() is called.
    std::vector<ObjectChange> next(std::size_t most);
    /// Remove the changes up to this one, which next() returned.
    void handedOver(const ObjectChange& last);

    /// Wait until a change was committed since the last call, at once for one by this process and
    /// within kPoll for one by another, or until `patience` is over, or for stopWaiting(). The
    /// first call returns at once.
    void waitForNews(std::chrono::milliseconds patience);
    /// End waitForNews(), now and ever after. Any thread.
    void stopWaiting();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

/// Write a change's row and attributes as JSON (for Created all attributes), with the keys of an
/// export. The name is not part of it.
KELP_EXPORT std::string encodeChange(const ObjectChange& change);
/// Read `row`, `attributes`, `isEdgePoint` and `kind` back; `change.name` must be set. Throws
/// InventoryFailure for a text that encodeChange() did not write.
KELP_EXPORT void decodeChange(const std::string& text, ObjectChange& change);

}  // namespace kelp::inventory
