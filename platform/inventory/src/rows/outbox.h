#pragma once

#include <kelp/inventory/model.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "database/connection.h"

namespace kelp::inventory {

/// The numbers in the column `operation`.
enum class OutboxOperation { Created, Changed, Deleted, Lost };

/// Records what one transaction changes, in the table change_outbox, as part of the transaction.
/// ChangeFeed reads the records. Records nothing until a ChangeFeed was opened for the file.
///
/// All objects of a kind that a transaction creates are one entry: a range of row ids. An object
/// has at most one entry for its changed attributes: a later one replaces it, under a new id, and
/// names the attributes of both. A deleted object has an entry with its name. At `entriesMax` all
/// entries are replaced by one that says that changes were lost.
class Outbox {
  public:
    static constexpr std::int64_t kEntriesMax = 1'000'000;  ///< about 100 MB in the file

    /// Begin to record. The caller is in a transaction that has the write lock.
    explicit Outbox(Connection& connection, std::int64_t entriesMax = kEntriesMax);

    bool isRecording() const { return isRecording_; }

    /// Reserve the place of the objects that the transaction creates: after the entries that were
    /// recorded so far and before the later ones.
    void expectCreations();
    /// Attributes of an object have other values: results of differences().
    void changed(ObjectKind kind, std::int64_t id, const std::vector<std::string>& changes);
    /// An object was deleted.
    void deleted(ObjectKind kind, std::int64_t id, const NameValues& name, bool isEdgePoint);
    /// Record what was created since the constructor. Call it last, if expectCreations() was
    /// called.
    void finish();

  private:
    struct Kind {
        std::int64_t newestBefore = 0;  ///< row id
        std::int64_t entry = 0;         ///< the reserved entry
    };
    static constexpr std::size_t kKinds = 7;

    Kind& kindOf(ObjectKind kind) { return kinds_[static_cast<std::size_t>(kind)]; }
    std::int64_t newestId(const char* table);
    /// Returns the id of the entry; 0 if changes were lost.
    std::int64_t add(OutboxOperation operation, ObjectKind kind, std::int64_t first,
                     std::int64_t last, const std::string& detail, bool isEdgePoint);
    bool hasRoom();

    Connection& connection_;
    const std::int64_t entriesMax_;
    const std::int64_t at_;
    bool isRecording_ = false;
    bool isLost_ = false;
    std::optional<std::int64_t> entries_;
    std::array<Kind, kKinds> kinds_;
};

}  // namespace kelp::inventory
