#include <type_traits>

#include "database/inventory_state.h"
#include "database/table.h"

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

Change setText(Connection& connection, const std::string& table, const char* column,
               std::int64_t id, const std::string& text) {
    Prepared& update =
        connection.prepared("UPDATE " + table + " SET " + column + " = ?1 WHERE id = ?2");
    update.bindText(1, text);
    update.bind(2, id);
    return update.execute() == 0 ? Change::NoSuchObject : Change::Made;
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
    const util::MutexLock lock(writing);
    Connection* const connection = &writer;
    return translated(file, [&] {
        // a change to a file that was deleted or replaced would be lost
        if (util::identityOf(file) != identity)
            throw noLongerThere(file);
        return body(*connection);
    });
}

Change Inventory::setUserLabel(ObjectKind kind, std::int64_t id, const std::string& label,
                               bool isUnique) {
    return state_->changing([&](Connection& writer) {
        const std::string table = tableOf(kind);
        // the write lock is taken before the check, so that nobody else can take the label in
        // between
        SQLite::Transaction transaction(writer.database(), SQLite::TransactionBehavior::IMMEDIATE);
        if (isUnique && isLabelInUse(writer, table, id, label))
            return Change::LabelInUse;
        makeRoom(writer, kind);
        const Change change = setText(writer, table, "userLabel", id, label);
        transaction.commit();
        return change;
    });
}

Change Inventory::setNativeEmsName(ObjectKind kind, std::int64_t id, const std::string& name) {
    if (kind == ObjectKind::Ems)
        throw InventoryFailure("the native name of the EMS is configured");
    return state_->changing([&](Connection& writer) {
        return setText(writer, tableOf(kind), "nativeEMSName", id, name);
    });
}

Change Inventory::setOwner(ObjectKind kind, std::int64_t id, const std::string& owner) {
    return state_->changing([&](Connection& writer) {
        makeRoom(writer, kind);
        return setText(writer, tableOf(kind), "owner", id, owner);
    });
}

void Inventory::setPatience(std::chrono::milliseconds patience) {
    const util::MutexLock lock(state_->writing);
    SQLite::Database& database = state_->writer.database();
    translated(state_->file, [&] { database.setBusyTimeout(static_cast<int>(patience.count())); });
}

}  // namespace kelp::inventory
