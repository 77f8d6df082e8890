#include "files/record.h"

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <optional>
#include <sstream>

#include "database/table.h"
#include "files/csv_text.h"
#include "files/json_text.h"

namespace kelp::inventory {

namespace {

constexpr const char* kObjectKey = "object";

std::vector<std::string> nameKeysOf(ObjectKind kind) {
    switch (kind) {
        case ObjectKind::ManagedElement:
            return {"ManagedElement", kSubnetworksKey};
        case ObjectKind::EquipmentHolder:
            return {"ManagedElement", "EquipmentHolder"};
        case ObjectKind::Equipment:
            return {"ManagedElement", "EquipmentHolder", "Equipment"};
        case ObjectKind::TerminationPoint:
            return {"ManagedElement",     "PTP", "FTP", "CTP", "supportingEquipmentHolder",
                    "supportingEquipment"};
        case ObjectKind::TopologicalLink:
            return {"TopologicalLink", "aEndManagedElement", "aEndPTP", "aEndFTP",
                    "aEndCTP",         "zEndManagedElement", "zEndPTP", "zEndFTP",
                    "zEndCTP"};
        case ObjectKind::Subnetwork:
            return {"MultiLayerSubnetwork"};
        case ObjectKind::Ems:
            return {};
    }
    return {};
}

bool isKeyOf(ObjectKind kind, const std::string& key) {
    const std::vector<std::string>& keys = keysOf(kind);
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

std::optional<ObjectKind> kindOf(const std::string& word) {
    std::optional<ObjectKind> kind;
    forEachKind([&](const auto& row) {
        using RowTable = Table<std::decay_t<decltype(row)>>;
        if (word == RowTable::kWord)
            kind = RowTable::kKind;
    });
    return kind;
}

std::string allKinds() {
    std::string all;
    forEachKind([&](const auto& row) {
        all += (all.empty() ? "" : ", ") + std::string(Table<std::decay_t<decltype(row)>>::kWord);
    });
    return all;
}

/// Parse a list in a cell of CSV: JSON, or layer rates separated by blanks.
void takeList(const std::string& cell, CellValue& room) {
    if (!cell.empty() && (cell.front() == '[' || cell.front() == '{')) {
        try {
            JsonText text = parsedJson(cell);
            room.value = std::move(text.value);
            if (!text.repeated.empty())
                room.problem = repetitionText(text.repeated, 0);
        } catch (const nlohmann::detail::exception&) {
            room.value = cell;  // not a list, so that assign() reports it
        }
        return;
    }
    room.value = Json::array();
    std::istringstream words(cell);
    for (std::string word; words >> word;)
        room.value.push_back(word);
}

/// Where in the line the parser stopped and why, without the exception's own prefix.
std::string reasonOf(const nlohmann::detail::exception& failure) {
    const std::string text = failure.what();
    const std::size_t at = text.find("column ");
    return "is not JSON: " + util::escaped(at == std::string::npos ? text : text.substr(at), 300);
}

class JsonLines final : public RecordSource {
  public:
    using RecordSource::RecordSource;

    Got next(Record& record, Problems& problems) override {
        record.place = lines_.place();
        if (!lines_.next(line_))
            return Got::End;
        if (!lines_.isCut() && line_.find_first_not_of(" \t\r") == std::string::npos)
            return Got::Nothing;
        std::vector<std::string> repeated;
        std::string problem = lines_.isCut() ? "the line is too long" : parse(record, repeated);
        if (problem.empty() && !repeated.empty())
            problem = repetitionText(repeated, 1);
        if (!problem.empty()) {
            problems.add(record.place.line, repeated.empty() ? "" : repeated.front(), problem);
            return Got::Nothing;
        }
        return areKeysKnown(record, problems) ? Got::Record : Got::Nothing;
    }

  private:
    /// Returns what is wrong with the line as a whole; empty: nothing.
    std::string parse(Record& record, std::vector<std::string>& repeated) {
        try {
            JsonText text = parsedJson(line_);
            record.object = std::move(text.value);
            repeated = std::move(text.repeated);
        } catch (const nlohmann::detail::exception& failure) {
            return reasonOf(failure);
        }
        if (!record.object.is_object())
            return "is not a JSON object";
        const auto word = record.object.find(kObjectKey);
        if (word == record.object.end())
            return std::string("has no key \"") + kObjectKey + "\"";
        const std::optional<ObjectKind> kind =
            word->is_string() ? kindOf(word->get_ref<const std::string&>()) : std::nullopt;
        if (!kind)
            return std::string(kObjectKey) + ": " + shown(*word) + " is none of " + allKinds();
        record.kind = *kind;
        return "";
    }
    static bool areKeysKnown(const Record& record, Problems& problems) {
        bool all = true;
        for (const auto& [key, value] : record.object.items()) {
            if (key == kObjectKey || isKeyOf(record.kind, key))
                continue;
            problems.add(record.place.line, key, "is not a key of this kind of object");
            all = false;
        }
        return all;
    }

    std::string line_;
};

class CsvFile final : public RecordSource {
  public:
    CsvFile(const std::filesystem::path& file, ObjectKind kind, Problems& problems)
        : RecordSource(file), kind_(kind) {
        readHeader(problems);
    }

    Got next(Record& record, Problems& problems) override {
        record.place = lines_.place();
        std::string problem;
        if (!isUsable_ || !nextCsvRecord(lines_, record.cells, problem))
            return Got::End;
        if (problem.empty() && record.cells.size() == 1 && record.cells[0].empty())
            return Got::Nothing;
        if (problem.empty() && record.cells.size() != columns_.size())
            problem = "has " + std::to_string(record.cells.size()) + " cells, the header has " +
                      std::to_string(columns_.size());
        record.kind = kind_;
        record.columns = &columns_;
        if (problem.empty())
            return Got::Record;
        problems.add(record.place.line, "", problem);
        return Got::Nothing;
    }

  private:
    void readHeader(Problems& problems) {
        std::vector<std::string> names;
        std::string problem;
        if (!nextCsvRecord(lines_, names, problem))
            problem = "has no header line";
        constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
        if (names[0].compare(0, kByteOrderMark.size(), kByteOrderMark) == 0)
            names[0].erase(0, kByteOrderMark.size());
        isUsable_ = problem.empty();
        if (!isUsable_)
            problems.add(1, "", problem);
        for (const std::string& name : isUsable_ ? names : std::vector<std::string>()) {
            const bool isKnown = isKeyOf(kind_, name);
            if (isKnown && columns_.try_emplace(name, columns_.size()).second)
                continue;
            problems.add(
                1, name,
                isKnown ? "this column appears twice" : "is not a column of this kind of object");
            isUsable_ = false;
        }
    }

    const ObjectKind kind_;
    CsvColumns columns_;
    bool isUsable_ = false;
};

std::vector<std::string> allKeysOf(ObjectKind kind) {
    std::vector<std::string> keys = nameKeysOf(kind);
    withKind(kind, [&](const auto& row) {
        for (const std::string& name : attributeNames<std::decay_t<decltype(row)>>())
            keys.push_back(name);
    });
    return keys;
}

}  // namespace

const std::vector<std::string>& keysOf(ObjectKind kind) {
    static const std::vector<std::string> keys[] = {allKeysOf(ObjectKind::ManagedElement),
                                                    allKeysOf(ObjectKind::EquipmentHolder),
                                                    allKeysOf(ObjectKind::Equipment),
                                                    allKeysOf(ObjectKind::TerminationPoint),
                                                    allKeysOf(ObjectKind::TopologicalLink),
                                                    allKeysOf(ObjectKind::Subnetwork),
                                                    allKeysOf(ObjectKind::Ems)};
    return keys[static_cast<std::size_t>(kind)];
}

const Json* Record::find(const std::string& key, CellForm form, CellValue& room) const {
    if (columns == nullptr) {
        const auto found = object.find(key);
        return found == object.end() || found->is_null() ? nullptr : &*found;
    }
    const auto found = columns->find(key);
    if (found == columns->end())
        return nullptr;
    const std::string& cell = cells[found->second];
    if (cell.empty() && (form == CellForm::Word || form == CellForm::Flag))
        return nullptr;
    if (form == CellForm::List)
        takeList(cell, room);
    else if (form == CellForm::Flag && (cell == "true" || cell == "false"))
        room.value = cell == "true";
    else
        room.value = cell;
    return &room.value;
}

std::unique_ptr<RecordSource> jsonLinesSource(const std::filesystem::path& file) {
    return std::make_unique<JsonLines>(file);
}

std::unique_ptr<RecordSource> csvSource(const std::filesystem::path& file, ObjectKind kind,
                                        Problems& problems) {
    return std::make_unique<CsvFile>(file, kind, problems);
}

}  // namespace kelp::inventory
