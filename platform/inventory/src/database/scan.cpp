#include "database/scan.h"

#include <sqlite3.h>

namespace kelp::inventory {

namespace {

constexpr const char* kScanType = "kelp scan";

/// Binds the scan to a statement while it runs, and resets the statement afterwards.
class Binding {
  public:
    Binding(Prepared& statement, int place, Scan* scan) : statement_(statement), place_(place) {
        statement_.bindPointer(place_, scan, kScanType);
    }
    ~Binding() {
        statement_.reset();
        statement_.unbind(place_);
    }
    Binding(const Binding&) = delete;
    Binding& operator=(const Binding&) = delete;

  private:
    Prepared& statement_;
    const int place_;
};

std::string_view bytesOf(const void* bytes, sqlite3_value* value) {
    // null for an empty value and when memory is exhausted; the step then reports the latter
    if (bytes == nullptr)
        return {};
    return {static_cast<const char*>(bytes), static_cast<std::size_t>(sqlite3_value_bytes(value))};
}

}  // namespace

std::int64_t Columns::integer() {
    return sqlite3_value_int64(*next_++);
}

std::string_view Columns::text() {
    sqlite3_value* const value = *next_++;
    return bytesOf(sqlite3_value_text(value), value);
}

std::string_view Columns::packed() {
    sqlite3_value* const value = *next_++;
    return bytesOf(sqlite3_value_blob(value), value);
}

void addPassRow(SQLite::Database& database) {
    constexpr int kAnyCount = -1;
    const int result = sqlite3_create_function_v2(database.getHandle(), "pass_row", kAnyCount,
                                                  SQLITE_UTF8 | SQLITE_DIRECTONLY, nullptr,
                                                  &Scan::passRow, nullptr, nullptr, nullptr);
    if (result != SQLITE_OK)
        throw SQLite::Exception(database.getHandle(), result);
}

void Scan::passRow(sqlite3_context* context, int count, sqlite3_value** values) {
    auto* const scan =
        count == 0 ? nullptr : static_cast<Scan*>(sqlite3_value_pointer(values[0], kScanType));
    if (scan == nullptr) {
        sqlite3_result_error(context, "pass_row() is called without a scan", -1);
        return;
    }
    try {
        scan->isEnded_ = !scan->take_(scan->taker_, Columns(values + 1));
        if (scan->isEnded_)
            sqlite3_result_error_code(context, SQLITE_ABORT);
    } catch (...) {
        // exceptions may not pass through SQLite's stack frames: run() throws it again
        scan->thrown_ = std::current_exception();
        sqlite3_result_error_code(context, SQLITE_ABORT);
    }
}

void Scan::run(Prepared& statement, int place) {
    const Binding binding(statement, place, this);
    try {
        statement.step();
    } catch (const SQLite::Exception&) {
        if (thrown_ == nullptr && !isEnded_)
            throw;
    }
    if (thrown_ != nullptr)
        std::rethrow_exception(thrown_);
}

}  // namespace kelp::inventory
