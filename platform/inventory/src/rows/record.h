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

/// The place of each column in a CSV file.
using CsvColumns = std::unordered_map<std::string, std::size_t>;

/// The key of the subnetworks that an element is in.
inline constexpr const char* kSubnetworksKey = "subnetworks";

/// Room for the value that a cell is made into.
struct CellValue {
    Json value;
    std::string problem;  ///< why it is none, whatever `value` says; empty: nothing is wrong
};

/// One object as a file gives it.
struct Record {
    ObjectKind kind = ObjectKind::ManagedElement;
    Place place;
    Json object;                          ///< of JSON lines
    const CsvColumns* columns = nullptr;  ///< of CSV
    std::vector<std::string> cells;

    /// The value of a key or column; null when it is not given.
    const Json* find(const std::string& key, CellForm form, CellValue& room) const;
};

/// Objects out of one file. Throws InventoryFailure when it cannot be read.
class RecordSource {
  public:
    enum class Got { Record, Nothing, End };

    explicit RecordSource(const std::filesystem::path& file) : lines_(file) {}
    virtual ~RecordSource() = default;
    RecordSource(const RecordSource&) = delete;
    RecordSource& operator=(const RecordSource&) = delete;

    /// Nothing for an empty line, and for one that is wrong, which goes to `problems`.
    virtual Got next(Record& record, Problems& problems) = 0;
    /// Goes back to a record.
    void seek(const Place& place) { lines_.seek(place); }
    Place place() const { return lines_.place(); }
    std::uint64_t size() const { return lines_.size(); }

  protected:
    LineReader lines_;
};

/// An object a line, its kind by the key "object".
std::unique_ptr<RecordSource> jsonLinesSource(const std::filesystem::path& file);
/// Objects of one kind. A wrong header goes to `problems`; the source then has no record.
std::unique_ptr<RecordSource> csvSource(const std::filesystem::path& file, ObjectKind kind,
                                        Problems& problems);

/// Every key that an object of the kind can have, those of its name and of what it refers to first.
const std::vector<std::string>& keysOf(ObjectKind kind);

}  // namespace kelp::inventory
