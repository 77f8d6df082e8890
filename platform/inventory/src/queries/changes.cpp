#include <type_traits>
#include <vector>

#include "database/change_signal.h"
#include "database/inventory_state.h"
#include "database/table.h"
#include "rows/outbox.h"
#include "rows/row_reader.h"
#include "rows/row_writer.h"

namespace kelp::inventory {

namespace {

std::string tableOf(ObjectKind kind) {
    std::string name;
    withKind(kind, [&](const auto& row) { name = Table<std::decay_t<decltype(row)>>::kName; });
    return name;
}

bool isLabelInUse(Connection& connection, const std::string& table, std::int64_t id,
                  const std::string& label) {
    Prepared& query =
        connection.prepared("SELECT 1 FROM " + table + " WHERE userLabel = ?1 AND id <> ?2");
    const ResetAtEnd reset(query);
    query.bindText(1, label);
    query.bind(2, id);
    return query.step();
}

bool isThere(Connection& connection, const std::string& table, std::int64_t id) {
    Prepared& query = connection.prepared("SELECT 1 FROM " + table + " WHERE id = ?1");
    const ResetAtEnd reset(query);
    query.bind(1, id);
    return query.step();
}

/// Replace the encoded form of a row whose attributes have changed.
void encodeAgain(Connection& connection, ObjectKind kind, std::int64_t id) {
    withKind(kind, [&](const auto& row) {
        using Row = std::decay_t<decltype(row)>;
        if constexpr (kIsEncoded<Row>) {
            std::vector<Row> rows;
            RowReader<Row>(connection, Detail::Standard).read({id, 1}, rows);
            for (const Row& each : rows)
                RowWriter(connection).writeEncoded(id, each);
        }
    });
}

/// Set an attribute of a row, and record it if it is another value. Runs within a transaction.
Change setText(Connection& connection, ObjectKind kind, const char* column, std::int64_t id,
               const std::string& text) {
    const std::string table = tableOf(kind);
    Prepared& update = connection.prepared("UPDATE " + table + " SET " + column +
                                           " = ?1 WHERE id = ?2 AND " + column + " <> ?1");
    update.bindText(1, text);
    update.bind(2, id);
    if (update.execute() == 0)
        return isThere(connection, table, id) ? Change::Made : Change::NoSuchObject;
    encodeAgain(connection, kind, id);
    Outbox(connection).changed(kind, id, {column});
    return Change::Made;
}

/// The EMS has no row until one of its attributes is set.
void makeRoom(Connection& connection, ObjectKind kind) {
    if (kind == ObjectKind::Ems)
        connection
            .prepared(
                "INSERT INTO ems (id, userLabel, owner, additionalInfo) VALUES (1, '', '', x'') ON "
                "CONFLICT "
                "DO NOTHING")
            .execute();
}

}  // namespace

template <class Body>
auto Inventory::State::changing(Body&& body) {
    const Change result = [&] {
        const util::MutexLock lock(writing);
        Connection* const connection = &writer;
        return translated(file, [&] {
            // a change to a file that was deleted or replaced would be lost
            if (util::identityOf(file) != identity)
                throw noLongerThere(file);
            // the write lock is taken before anything is read, so that what is checked stays true
            SQLite::Transaction transaction(connection->database(),
                                            SQLite::TransactionBehavior::IMMEDIATE);
            const Change change = body(*connection);
            if (change == Change::Made)
                transaction.commit();
            return change;
        });
    }();
    if (result == Change::Made)
        ChangeSignal::instance().notify();
    return result;
}

Change Inventory::setUserLabel(ObjectKind kind, std::int64_t id, const std::string& label,
                               bool isUnique) {
    return state_->changing([&](Connection& writer) {
        if (isUnique && isLabelInUse(writer, tableOf(kind), id, label))
            return Change::LabelInUse;
        makeRoom(writer, kind);
        return setText(writer, kind, "userLabel", id, label);
    });
}

Change Inventory::setNativeEmsName(ObjectKind kind, std::int64_t id, const std::string& name) {
    if (kind == ObjectKind::Ems)
        throw InventoryFailure("the native name of the EMS is configured");
    return state_->changing(
        [&](Connection& writer) { return setText(writer, kind, "nativeEMSName", id, name); });
}

Change Inventory::setOwner(ObjectKind kind, std::int64_t id, const std::string& owner) {
    return state_->changing([&](Connection& writer) {
        makeRoom(writer, kind);
        return setText(writer, kind, "owner", id, owner);
    });
}

void Inventory::setPatience(std::chrono::milliseconds patience) {
    const util::MutexLock lock(state_->writing);
    SQLite::Database& database = state_->writer.database();
    translated(state_->file, [&] { database.setBusyTimeout(static_cast<int>(patience.count())); });
}

}  // namespace kelp::inventory
