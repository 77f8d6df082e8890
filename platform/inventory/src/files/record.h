#pragma once

#include <kelp/inventory/model.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "files/json_values.h"
#include "files/line_reader.h"
#include "files/problems.h"

namespace kelp::inventory {

/// The number of each column in a CSV file, by its name.
using CsvColumns = std::unordered_map<std::string, std::size_t>;

/// The key that lists the subnetworks of an element.
inline constexpr const char* kSubnetworksKey = "subnetworks";

/// Storage for a value that is converted from a cell.
struct CellValue {
    Json value;
    std::string problem;  ///< what is wrong with the cell, whatever `value` holds; empty: nothing
};

/// One object as read from a file.
struct Record {
    ObjectKind kind = ObjectKind::ManagedElement;
    Place place;
    Json object;                          ///< set for JSON lines
    const CsvColumns* columns = nullptr;  ///< set for CSV
    std::vector<std::string> cells;

    /// The value of a key or column; null if it is not given. A cell of CSV is converted into
    /// `room`, which must live as long as the result is used.
    const Json* find(const std::string& key, CellForm form, CellValue& room) const;
};

/// Reads objects from one file. Throws InventoryFailure if the file cannot be read.
class RecordSource {
  public:
    enum class Got { Record, Nothing, End };

    explicit RecordSource(const std::filesystem::path& file) : lines_(file) {}
    virtual ~RecordSource() = default;
    RecordSource(const RecordSource&) = delete;
    RecordSource& operator=(const RecordSource&) = delete;

    /// Read the next record. Returns Nothing for an empty line, and for a wrong one, which it adds
    /// to `problems`.
    virtual Got next(Record& record, Problems& problems) = 0;
    /// Go back to a record.
    void seek(const Place& place) { lines_.seek(place); }
    Place place() const { return lines_.place(); }
    std::uint64_t size() const { return lines_.size(); }

  protected:
    LineReader lines_;
};

/// One object a line. The key "object" names its kind.
std::unique_ptr<RecordSource> jsonLinesSource(const std::filesystem::path& file);
/// Objects of one kind. A wrong header is added to `problems`, and the source then yields no
/// records.
std::unique_ptr<RecordSource> csvSource(const std::filesystem::path& file, ObjectKind kind,
                                        Problems& problems);

/// Every key that an object of the kind can have. The keys of its name and of the rows that it
/// refers to come first.
const std::vector<std::string>& keysOf(ObjectKind kind);

}  // namespace kelp::inventory
