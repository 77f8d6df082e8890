#include <kelp/inventory/layer_rate.h>
#include <kelp/inventory/transfer.h>
#include <kelp/util/joined.h>
#include <kelp/util/json_text.h>

#include <fstream>
#include <functional>
#include <system_error>
#include <utility>

#include "database/table.h"
#include "files/csv_text.h"
#include "files/json_values.h"
#include "files/progress_pace.h"
#include "files/record.h"
#include "rows/row_reader.h"

namespace kelp::inventory {

namespace {

/// Number of ids that are read together.
constexpr std::uint64_t kBatch = 1000;

using NameKeys = std::vector<std::pair<std::string, Json>>;

NameKeys tpKeys(const std::string& prefix, const TpName& name) {
    const bool isPtp = name.portKind == TpKind::Ptp;
    return {{prefix + "ManagedElement", name.managedElement},
            {prefix + "PTP", isPtp ? name.port : std::string()},
            {prefix + "FTP", isPtp ? std::string() : name.port},
            {prefix + "CTP", name.ctp}};
}

// The keys of a row's name and of the rows that it refers to, with their values, in the order of
// keysOf().
NameKeys nameKeys(const ManagedElement& row) {
    return {{"ManagedElement", row.name}, {kSubnetworksKey, row.subnetworks}};
}
NameKeys nameKeys(const EquipmentHolder& row) {
    return {{"ManagedElement", row.managedElement}, {"EquipmentHolder", row.name}};
}
NameKeys nameKeys(const Equipment& row) {
    return {{"ManagedElement", row.managedElement},
            {"EquipmentHolder", row.holder},
            {"Equipment", row.name}};
}
NameKeys nameKeys(const TerminationPoint& row) {
    NameKeys keys = tpKeys("", row.name);
    keys.emplace_back("supportingEquipmentHolder", row.supportingEquipmentHolder);
    keys.emplace_back("supportingEquipment", row.supportingEquipment);
    return keys;
}
NameKeys nameKeys(const TopologicalLink& row) {
    NameKeys keys = {{"TopologicalLink", row.name}};
    for (const NameKeys& end : {tpKeys("aEnd", row.aEnd), tpKeys("zEnd", row.zEnd)})
        keys.insert(keys.end(), end.begin(), end.end());
    return keys;
}
NameKeys nameKeys(const Subnetwork& row) {
    return {{"MultiLayerSubnetwork", row.name}};
}
NameKeys nameKeys(const EmsAttributes&) {
    return {};
}

std::string jsonText(const Json& value) {
    return util::jsonText(value);
}

bool isEmpty(const Json& value) {
    return value.is_string() ? value.get_ref<const std::string&>().empty()
                             : value.is_structured() && value.empty();
}

std::string cellOf(const std::string& text) {
    return text;
}
std::string cellOf(const LayerRates& rates) {
    return util::joined(rates, " ", layerRateText);
}
std::string cellOf(const LayeredParameterList& layers) {
    LayerRates rates;
    for (const LayeredParameters& layer : layers) {
        if (!layer.parameters.empty())
            return jsonText(jsonOf(layers));
        rates.push_back(layer.layer);
    }
    return cellOf(rates);
}
std::string cellOf(const Json& value) {
    if (value.is_string())
        return value.get<std::string>();
    return isEmpty(value) ? "" : jsonText(value);
}
template <class Value>
std::string cellOf(const Value& value) {
    return cellOf(jsonOf(value));
}

/// Empty values are left out, except the label and the native name: an import would make a missing
/// one from the name.
bool isLeftOut(const std::string& key, const Json& value) {
    return isEmpty(value) && key != "userLabel" && key != "nativeEMSName";
}

/// A snapshot of the whole inventory, read from the first row to the last.
class WholeInventory {
  public:
    WholeInventory(const std::filesystem::path& file, const Progress& progress)
        : connection_(file, Connection::Use::Read), pace_(progress), view_(connection_.database()) {
        forEachKind([this](const auto& row) {
            total_ += number(std::string("SELECT count(*) FROM ") +
                             Table<std::decay_t<decltype(row)>>::kName);
        });
    }

    template <class Row, class Take>
    void forEach(Take&& take) {
        const std::string table = Table<Row>::kName;
        const std::uint64_t last = number("SELECT coalesce(max(id), 0) FROM " + table);
        std::uint64_t next = number("SELECT coalesce(min(id), 1) FROM " + table);
        RowReader<Row> reader(connection_, Detail::All);
        std::vector<Row> rows;
        for (; next <= last; next += kBatch) {
            rows.clear();
            reader.read({static_cast<std::int64_t>(next), kBatch}, rows);
            for (const Row& row : rows) {
                take(row);
                ++done_;
                pace_.step([this] { return done_; }, total_);
            }
        }
    }
    void end() { pace_.end(total_); }

  private:
    std::uint64_t number(const std::string& sql) {
        return static_cast<std::uint64_t>(connection_.database().execAndGet(sql).getInt64());
    }

    Connection connection_;
    ProgressPace pace_;
    SQLite::Transaction view_;
    std::uint64_t total_ = 0;
    std::uint64_t done_ = 0;
};

/// Open the inventory once for writing, which migrates it if necessary.
void prepare(const std::filesystem::path& database) {
    requireFile(database);
    openForWriting(database);
}

void requireWritten(const std::ostream& out, const std::string& name) {
    if (!out)
        throw InventoryFailure(name + " cannot be written");
}

template <class Row>
void writeCsv(WholeInventory& inventory, const std::filesystem::path& file) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out << csvLine(keysOf(Table<Row>::kKind));
    inventory.forEach<Row>([&](const Row& row) {
        std::vector<std::string> cells;
        for (const auto& [key, value] : nameKeys(row))
            cells.push_back(cellOf(value));
        Table<Row>::visit(row,
                          [&](const char*, const auto& value) { cells.push_back(cellOf(value)); });
        out << csvLine(cells);
        requireWritten(out, file.string());
    });
    out.close();
    requireWritten(out, file.string());
}

/// Files that are not complete yet. The destructor deletes those that were not finished.
class PartialFiles {
  public:
    explicit PartialFiles(const std::filesystem::path& folder) : folder_(folder) {}
    ~PartialFiles() {
        std::error_code ignored;
        for (const std::string& name : names_)
            std::filesystem::remove(partial(name), ignored);
    }
    PartialFiles(const PartialFiles&) = delete;
    PartialFiles& operator=(const PartialFiles&) = delete;

    std::filesystem::path add(const std::string& name) {
        names_.push_back(name);
        return partial(name);
    }
    void finish() {
        for (const std::string& name : names_) {
            std::error_code error;
            std::filesystem::rename(partial(name), folder_ / name, error);
            if (error)
                throw InventoryFailure((folder_ / name).string() +
                                       " cannot be replaced: " + error.message());
        }
        names_.clear();
    }

  private:
    std::filesystem::path partial(const std::string& name) const {
        return folder_ / (name + ".partial");
    }

    const std::filesystem::path folder_;
    std::vector<std::string> names_;
};

}  // namespace

void exportJsonLines(const std::filesystem::path& database, std::ostream& out,
                     const Progress& progress) {
    prepare(database);
    translated(database, [&] {
        WholeInventory inventory(database, progress);
        forEachKind([&](const auto& kind) {
            using Row = std::decay_t<decltype(kind)>;
            inventory.forEach<Row>([&](const Row& row) {
                Json object = {{"object", Table<Row>::kWord}};
                for (auto& [key, value] : nameKeys(row)) {
                    if (!isEmpty(value))
                        object[key] = std::move(value);
                }
                Table<Row>::visit(row, [&](const char* key, const auto& value) {
                    if (Json json = jsonOf(value); !isLeftOut(key, json))
                        object[key] = std::move(json);
                });
                out << jsonText(object) << '\n';
                requireWritten(out, "the output");
            });
        });
        out.flush();
        requireWritten(out, "the output");
        inventory.end();
    });
}

void exportCsv(const std::filesystem::path& database, const std::filesystem::path& folder,
               const Progress& progress) {
    prepare(database);
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error)
        throw InventoryFailure(folder.string() + ": cannot be made: " + error.message());
    translated(database, [&] {
        WholeInventory inventory(database, progress);
        PartialFiles files(folder);
        forEachKind([&](const auto& kind) {
            using Row = std::decay_t<decltype(kind)>;
            writeCsv<Row>(inventory, files.add(std::string(Table<Row>::kWord) + ".csv"));
        });
        files.finish();
        inventory.end();
    });
}

}  // namespace kelp::inventory
