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

/// Told from time to time, at least once a second while something goes on, with how much is done
/// out of how much; both in a unit of the operation's own (bytes of an import's files, rows
/// otherwise).
using Progress = std::function<void(std::uint64_t done, std::uint64_t total)>;

struct ImportOptions {
    bool replace = false;  ///< everything that was there goes first
    bool dryRun = false;   ///< looks at everything, changes nothing
    Progress progress;
};

/// What is wrong in a file to be imported.
struct ImportProblem {
    std::string file;
    std::uint64_t line = 0;  ///< from 1; 0: the whole file
    std::string key;         ///< column or key; empty: the whole line
    std::string what;
    /// "FILE:LINE: KEY: what".
    KELP_EXPORT std::string text() const;
};

struct ImportResult {
    static constexpr std::size_t kProblemsKept = 20;

    std::uint64_t added = 0;              ///< rows
    std::uint64_t updated = 0;            ///< rows that were there by name
    std::vector<ImportProblem> problems;  ///< the first of them, in the order of the files
    std::uint64_t problemCount = 0;       ///< when not 0, nothing was changed
};

/// Takes objects into the inventory of that file, which is made if it is missing: all, or none when
/// there is a problem. The source is a folder with CSV files (RFC 4180, header line, one file a
/// kind of object) or a file of JSON lines. Rows may stand in any order. A row whose name is there
/// already changes the attributes that it gives and leaves the others. Other writers wait
/// meanwhile, readers do not. Throws InventoryFailure when the inventory or the source cannot be
/// opened.
KELP_EXPORT ImportResult importInventory(const std::filesystem::path& database,
                                         const std::filesystem::path& source,
                                         const ImportOptions& options);

/// Writes the whole inventory, as it is at one moment, so that importing it gives the same. Throws
/// InventoryFailure.
KELP_EXPORT void exportJsonLines(const std::filesystem::path& database, std::ostream& out,
                                 const Progress& progress = {});
/// One file a kind in a folder, which is made. Files there are replaced, once all are written.
KELP_EXPORT void exportCsv(const std::filesystem::path& database,
                           const std::filesystem::path& folder, const Progress& progress = {});

}  // namespace kelp::inventory
