#include "files/row_import.h"

#include <algorithm>
#include <limits>
#include <type_traits>

#include "database/table.h"
#include "names/name_rules.h"
#include "rows/row_difference.h"
#include "rows/row_reader.h"
#include "rows/row_removal.h"

namespace kelp::inventory {

namespace {

// Check values that depend on each other. Returns the attribute and what is wrong with it, or an
// empty text.
std::pair<const char*, std::string> problemOf(const ManagedElement& row) {
    if (row.nativeEMSName.empty())
        return {"nativeEMSName", "must not be empty"};
    return {"productName", row.productName.empty() ? "must not be empty" : ""};
}
std::pair<const char*, std::string> problemOf(const EquipmentHolder& row) {
    const std::string type = holderTypeOf(row.name);
    return {"holderType",
            row.holderType == type
                ? ""
                : shown(row.holderType) + " is not what the name says, \"" + type + "\""};
}
std::pair<const char*, std::string> problemOf(const Equipment&) {
    return {"", ""};
}
std::pair<const char*, std::string> problemOf(const TerminationPoint& row) {
    return {"transmissionParams",
            row.transmissionParams.empty() ? "must name a layer rate at least" : ""};
}
std::pair<const char*, std::string> problemOf(const TopologicalLink& row) {
    return {"rate", row.rate == 0 ? "is missing" : ""};
}
std::pair<const char*, std::string> problemOf(const Subnetwork&) {
    return {"", ""};
}
std::pair<const char*, std::string> problemOf(const EmsAttributes&) {
    return {"", ""};
}

/// Set the values of a new row that its record leaves out.
template <class Row>
void setDefaults(const Record& record, Row& row) {
    CellValue room;
    if constexpr (!std::is_same_v<Row, EmsAttributes>) {
        if (record.find("nativeEMSName", CellForm::Text, room) == nullptr)
            row.nativeEMSName = ownName(row);
        if (record.find("userLabel", CellForm::Text, room) == nullptr)
            row.userLabel = row.nativeEMSName;
    }
    if constexpr (std::is_same_v<Row, EquipmentHolder>) {
        if (row.holderType.empty())
            row.holderType = holderTypeOf(row.name);
    }
}

}  // namespace

RowImport::RowImport(Connection& connection, Outbox& outbox, Problems& problems, Mode mode)
    : connection_(connection),
      outbox_(outbox),
      problems_(problems),
      mode_(mode),
      index_(connection),
      given_(
          connection, mode == Mode::Update
                          ? NameIndex::Accept()
                          : [this](ObjectKind kind, std::int64_t id) { return isGiven(kind, id); }),
      writer_(connection) {}

std::uint32_t RowImport::Lines::note(std::int64_t id, std::uint64_t line) {
    if (lines_.empty())
        first_ = id;
    if (id < first_) {
        // more than is needed, so that descending ids do not move the list each time
        const auto gap = static_cast<std::size_t>(first_ - id);
        const std::size_t more =
            std::max(gap, std::min(static_cast<std::size_t>(first_), lines_.size()));
        lines_.insert(lines_.begin(), more, 0);
        first_ -= static_cast<std::int64_t>(more);
    }
    const auto place = static_cast<std::size_t>(id - first_);
    if (place >= lines_.size())
        lines_.resize(place + 1);
    const std::uint32_t before = lines_[place];
    if (before == 0)
        lines_[place] = static_cast<std::uint32_t>(
            std::min<std::uint64_t>(line, std::numeric_limits<std::uint32_t>::max()));
    return before;
}

bool RowImport::Lines::has(std::int64_t id) const {
    return id >= first_ && static_cast<std::size_t>(id - first_) < lines_.size() &&
           lines_[static_cast<std::size_t>(id - first_)] != 0;
}

bool RowImport::isGiven(ObjectKind kind, std::int64_t id) const {
    const auto found = lines_.find(kind);
    return found != lines_.end() && found->second.has(id);
}

RowImport::Outcome RowImport::take(const Record& record, IfMissing ifMissing) {
    Outcome outcome = Outcome::Wrong;
    withKind(record.kind, [&](const auto& row) {
        outcome = takeRow<std::decay_t<decltype(row)>>(record, ifMissing);
    });
    return outcome;
}

void RowImport::finish() {
    if (mode_ == Mode::Replace)
        removeOthers(connection_, outbox_,
                     [this](ObjectKind kind, std::int64_t id) { return isGiven(kind, id); });
}

template <class Row>
RowImport::Outcome RowImport::takeRow(const Record& record, IfMissing ifMissing) {
    Row named;
    if (!takeName(record, named, problems_))
        return Outcome::Wrong;
    Identity identity;
    if (const auto missing = identify(given_, named, identity)) {
        if (ifMissing == IfMissing::Tell)
            problems_.add(record.place.line, missing->key, missing->what);
        return Outcome::RefersToMissing;
    }
    if (mode_ == Mode::Replace && identity.id == 0) {
        // the row may be there without having been given yet
        Identity present;
        identify(index_, named, present);
        identity.id = present.id;
    }
    if constexpr (std::is_same_v<Row, ManagedElement>) {
        CellValue room;
        // an update that names no subnetworks leaves the element in its present ones
        if (mode_ == Mode::Update && record.find(kSubnetworksKey, CellForm::List, room) == nullptr)
            identity.references.subnetworks.reset();
    }
    if (identity.id == 0) {
        if (!takeAttributes(record, named, Whether::New))
            return Outcome::Wrong;
        noteLine(record, writer_.insert(named, identity.references), named);
        if constexpr (std::is_same_v<Row, EmsAttributes>)
            outbox_.changed(ObjectKind::Ems, named.id, differences(EmsAttributes(), named));
        return Outcome::Added;
    }
    if (!noteLine(record, identity.id, named))
        return Outcome::Wrong;
    return takeChanges(record, named, identity) ? Outcome::Updated : Outcome::Wrong;
}

/// Change the row that is there to what the record gives. `named` has the name and the references
/// of the record.
template <class Row>
bool RowImport::takeChanges(const Record& record, Row& named, Identity& identity) {
    std::vector<Row> rows;
    RowReader<Row>(connection_, Detail::All).read({identity.id, 1}, rows);
    const Row& before = rows.front();
    Row after = mode_ == Mode::Replace ? named : before;
    after.id = identity.id;
    if (mode_ == Mode::Update) {
        if constexpr (std::is_same_v<Row, TerminationPoint>) {
            if (identity.references.equipment != 0) {
                after.supportingEquipmentHolder = named.supportingEquipmentHolder;
                after.supportingEquipment = named.supportingEquipment;
            } else if (!before.supportingEquipment.empty()) {
                // an update that names no equipment leaves the port on its present equipment
                identity.references.equipment = index_.equipmentId(
                    index_.holderId(identity.references.element, before.supportingEquipmentHolder),
                    before.supportingEquipment);
            }
        }
        if constexpr (std::is_same_v<Row, TopologicalLink>) {
            after.aEnd = named.aEnd;
            after.zEnd = named.zEnd;
        }
        if constexpr (std::is_same_v<Row, ManagedElement>) {
            if (identity.references.subnetworks)
                after.subnetworks = named.subnetworks;
        }
    }
    if (!takeAttributes(record, after, mode_ == Mode::Replace ? Whether::New : Whether::There))
        return false;
    const std::vector<std::string> changes = differences(before, after);
    if (changes.empty())
        return true;
    writer_.update(after, identity.references);
    outbox_.changed(Table<Row>::kKind, after.id, changes);
    return true;
}

template <class Row>
bool RowImport::noteLine(const Record& record, std::int64_t id, const Row& row) {
    const std::uint32_t before = lines_[Table<Row>::kKind].note(id, record.place.line);
    if (before == 0)
        return true;
    problems_.add(record.place.line, "",
                  Table<Row>::kWord + (ownName(row).empty() ? "" : " " + shown(ownName(row))) +
                      " is already in line " + std::to_string(before));
    return false;
}

template <class Row>
bool RowImport::takeAttributes(const Record& record, Row& row, Whether whether) {
    const std::uint64_t before = problems_.count();
    Table<Row>::visit(row, [&](const char* key, auto& value) {
        CellValue room;
        const Json* const given =
            record.find(key, cellFormOf<std::decay_t<decltype(value)>>(), room);
        if (given == nullptr)
            return;
        const std::string problem = room.problem.empty() ? assign(*given, value) : room.problem;
        if (!problem.empty())
            problems_.add(record.place.line, key, problem);
    });
    if (whether == Whether::New)
        setDefaults(record, row);
    if (problems_.count() == before) {
        if (const auto [key, problem] = problemOf(row); !problem.empty())
            problems_.add(record.place.line, key, problem);
    }
    return problems_.count() == before;
}

}  // namespace kelp::inventory
