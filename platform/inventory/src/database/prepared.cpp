#include "database/prepared.h"

#include <sqlite3.h>

namespace kelp::inventory {

Prepared::Prepared(SQLite::Database& database, const std::string& sql) : database_(database) {
    sqlite3_stmt* statement = nullptr;
    require(sqlite3_prepare_v3(database.getHandle(), sql.c_str(), static_cast<int>(sql.size()) + 1,
                               SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
    statement_.reset(statement);
}

void Prepared::Finalize::operator()(sqlite3_stmt* statement) const {
    sqlite3_finalize(statement);
}

void Prepared::require(int result) const {
    if (result != SQLITE_OK)
        throw SQLite::Exception(database_.getHandle(), result);
}

void Prepared::bind(int place, std::int64_t value) {
    require(sqlite3_bind_int64(statement_.get(), place, value));
}

void Prepared::bindText(int place, std::string_view text) {
    // a null pointer would bind NULL
    require(sqlite3_bind_text(statement_.get(), place, text.empty() ? "" : text.data(),
                              static_cast<int>(text.size()), SQLITE_STATIC));
}

void Prepared::bindPacked(int place, std::string_view bytes) {
    require(sqlite3_bind_blob(statement_.get(), place, bytes.empty() ? "" : bytes.data(),
                              static_cast<int>(bytes.size()), SQLITE_TRANSIENT));
}

void Prepared::bindNull(int place) {
    require(sqlite3_bind_null(statement_.get(), place));
}

void Prepared::bindPointer(int place, void* object, const char* type) {
    require(sqlite3_bind_pointer(statement_.get(), place, object, type, nullptr));
}

void Prepared::unbind(int place) {
    // fails only for a place that could not be bound before
    sqlite3_bind_null(statement_.get(), place);
}

bool Prepared::step() {
    const int result = sqlite3_step(statement_.get());
    if (result != SQLITE_ROW && result != SQLITE_DONE)
        require(result);
    return result == SQLITE_ROW;
}

int Prepared::execute() {
    const ResetAtEnd reset(*this);
    step();
    return sqlite3_changes(database_.getHandle());
}

void Prepared::reset() {
    // the result is that of the last step, which step() has reported already
    sqlite3_reset(statement_.get());
}

std::int64_t Prepared::integer(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
}

std::string_view Prepared::text(int column) const {
    const auto* const bytes =
        reinterpret_cast<const char*>(sqlite3_column_text(statement_.get(), column));
    if (bytes == nullptr)
        return {};
    return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

std::string_view Prepared::packed(int column) const {
    const auto* const bytes =
        static_cast<const char*>(sqlite3_column_blob(statement_.get(), column));
    if (bytes == nullptr)
        return {};
    return {bytes, static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

bool Prepared::isNull(int column) const {
    return sqlite3_column_type(statement_.get(), column) == SQLITE_NULL;
}

}  // namespace kelp::inventory
