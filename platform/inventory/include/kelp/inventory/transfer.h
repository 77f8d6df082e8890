#pragma once

#include <kelp/inventory/inventory.h>
#include <kelp/util/export.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace kelp::inventory {

/// Called while an operation is running, at least once a second. `done` and `total` are in the unit
/// of the operation: bytes of the files for an import, rows for an export, elements for a generated
/// network.
using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

/// How to import.
struct ImportOptions {
    /// Make the inventory what the source describes: objects that it does not name are deleted, and
    /// attributes that it does not give get their defaults. An object that it names keeps its row
    /// id, and only what differs is written and becomes an event for the NMS.
    bool replace = false;
    bool dryRun = false;  ///< check everything, change nothing
    Progress progress;
};

/// A problem in a file to be imported.
struct ImportProblem {
    std::string file;
    std::uint64_t line = 0;  ///< from 1; 0: the whole file
    std::string key;         ///< column or key; empty: the problem concerns the whole line
    std::string what;
    /// "FILE:LINE: KEY: what".
    KELP_EXPORT std::string text() const;
};

/// What an import has changed, or why it has changed nothing.
struct ImportResult {
    static constexpr std::size_t kProblemsKept = 20;

    std::uint64_t added = 0;    ///< rows
    std::uint64_t updated = 0;  ///< rows whose name was in the inventory already
    std::vector<ImportProblem>
        problems;                    ///< the first of them, in the order of the files and lines
    std::uint64_t problemCount = 0;  ///< if not 0, nothing was changed
};

/// Import objects into the inventory, which is created if it is missing. If there is a problem
/// nothing is imported. The source is a folder with CSV files (RFC 4180, with a header line, one
/// file for each kind of object), a single such CSV file, or a file of JSON lines. Rows may be in
/// any order. A row whose name is in the inventory already changes the attributes that it gives and
/// leaves the others unchanged. Other writers wait until the import ends; readers do not. Throws
/// InventoryFailure when the inventory or the source cannot be opened.
KELP_EXPORT ImportResult importInventory(const std::filesystem::path& database,
                                         const std::filesystem::path& source,
                                         const ImportOptions& options);

/// Write a snapshot of the whole inventory. Importing it gives the same inventory. Throws
/// InventoryFailure.
KELP_EXPORT void exportJsonLines(const std::filesystem::path& database, std::ostream& out,
                                 const Progress& progress = {});
/// Write one CSV file for each kind of object into the folder, which is created if it is missing.
/// Existing files are replaced once all new ones are complete. Throws InventoryFailure.
KELP_EXPORT void exportCsv(const std::filesystem::path& database,
                           const std::filesystem::path& folder, const Progress& progress = {});

}  // namespace kelp::inventory
