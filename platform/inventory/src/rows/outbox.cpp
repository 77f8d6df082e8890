#include "rows/outbox.h"

#include <algorithm>
#include <chrono>
#include <type_traits>

#include "database/table.h"
#include "rows/packed_values.h"
#include "rows/row_difference.h"

namespace kelp::inventory {

namespace {

std::int64_t outboxTime() {
    using namespace std::chrono;
    return duration_cast<microseconds>(system_clock::now().time_since_epoch()).count();
}

std::int64_t number(Prepared& query) {
    const ResetAtEnd reset(query);
    return query.step() ? query.integer(0) : 0;
}

}  // namespace

Outbox::Outbox(Connection& connection, std::int64_t entriesMax)
    : connection_(connection), entriesMax_(entriesMax), at_(outboxTime()) {
    isRecording_ = number(connection.prepared("SELECT is_recording FROM outbox_state")) != 0;
}

std::int64_t Outbox::newestId(const char* table) {
    Prepared& query = connection_.prepared("SELECT seq FROM sqlite_sequence WHERE name = ?1");
    query.bindText(1, table);
    return number(query);
}

void Outbox::expectCreations() {
    if (!isRecording_)
        return;
    forEachKind([this](const auto& row) {
        using RowTable = Table<std::decay_t<decltype(row)>>;
        if constexpr (RowTable::kKind != ObjectKind::Ems) {
            Kind& kind = kindOf(RowTable::kKind);
            kind.newestBefore = newestId(RowTable::kName);
            kind.entry = add(OutboxOperation::Created, RowTable::kKind, kind.newestBefore + 1,
                             kind.newestBefore, "", false);
        }
    });
}

void Outbox::changed(ObjectKind kind, std::int64_t id, const std::vector<std::string>& changes) {
    // the entry of a new object stands for its attributes too
    if (!isRecording_ || (kindOf(kind).entry != 0 && id > kindOf(kind).newestBefore))
        return;
    std::vector<std::string> all;
    Prepared& query = connection_.prepared(
        "SELECT detail FROM change_outbox WHERE operation = 1 AND kind = ?1 AND first_id = ?2");
    {
        query.bind(1, static_cast<std::int64_t>(kind));
        query.bind(2, id);
        const ResetAtEnd reset(query);
        if (query.step())
            unpack(query.packed(0), all);
    }
    const std::size_t before = all.size();
    for (const std::string& change : changes) {
        if (isReported(change) && std::find(all.begin(), all.end(), change) == all.end())
            all.push_back(change);
    }
    const bool isAnyReported = std::any_of(changes.begin(), changes.end(), isReported);
    if (!isAnyReported)
        return;
    if (before != 0) {
        // a new id: the entry may be on its way to the reader with the previous values
        Prepared& removal = connection_.prepared(
            "DELETE FROM change_outbox WHERE operation = 1 AND kind = ?1 AND first_id = ?2");
        removal.bind(1, static_cast<std::int64_t>(kind));
        removal.bind(2, id);
        removal.execute();
    }
    add(OutboxOperation::Changed, kind, id, id, packed(all), false);
}

void Outbox::deleted(ObjectKind kind, std::int64_t id, const NameValues& name, bool isEdgePoint) {
    if (isRecording_)
        add(OutboxOperation::Deleted, kind, id, id, packed(name), isEdgePoint);
}

void Outbox::finish() {
    if (!isRecording_ || isLost_)
        return;
    forEachKind([this](const auto& row) {
        using RowTable = Table<std::decay_t<decltype(row)>>;
        const Kind& kind = kindOf(RowTable::kKind);
        if (kind.entry == 0)
            return;
        const std::int64_t newest = newestId(RowTable::kName);
        Prepared& change =
            newest > kind.newestBefore
                ? connection_.prepared("UPDATE change_outbox SET last_id = ?2 WHERE id = ?1")
                : connection_.prepared("DELETE FROM change_outbox WHERE id = ?1");
        change.bind(1, kind.entry);
        if (newest > kind.newestBefore)
            change.bind(2, newest);
        change.execute();
    });
}

std::int64_t Outbox::add(OutboxOperation operation, ObjectKind kind, std::int64_t first,
                         std::int64_t last, const std::string& detail, bool isEdgePoint) {
    if (isLost_ || !hasRoom())
        return 0;
    Prepared& entry = connection_.prepared(
        "INSERT INTO change_outbox (at, operation, kind, first_id, last_id, edge_point, detail) "
        "VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7)");
    entry.bind(1, at_);
    entry.bind(2, static_cast<std::int64_t>(operation));
    entry.bind(3, static_cast<std::int64_t>(kind));
    entry.bind(4, first);
    entry.bind(5, last);
    entry.bind(6, isEdgePoint ? 1 : 0);
    entry.bindPacked(7, detail);
    entry.execute();
    return connection_.lastId();
}

bool Outbox::hasRoom() {
    if (!entries_) {
        // the span of the ids is an upper bound that costs nothing to find
        entries_ = number(
            connection_.prepared("SELECT coalesce(max(id) - min(id) + 1, 0) FROM change_outbox"));
        if (*entries_ >= entriesMax_)
            entries_ = number(connection_.prepared("SELECT count(*) FROM change_outbox"));
    }
    if (++*entries_ <= entriesMax_)
        return true;
    connection_.prepared("DELETE FROM change_outbox").execute();
    entries_ = 0;
    add(OutboxOperation::Lost, ObjectKind::Ems, 0, 0, "", false);
    isLost_ = true;
    return false;
}

}  // namespace kelp::inventory
