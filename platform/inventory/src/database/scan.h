#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <exception>
#include <string_view>
#include <type_traits>

#include "database/prepared.h"

struct sqlite3_context;
struct sqlite3_value;

namespace kelp::inventory {

// Reads all rows of a statement within one of its steps. One step for each row, and one checked
// call for each column, would double the time that SQLite needs to find the rows. Therefore the
// statement's condition ends in "AND pass_row(?n, column, ...)". SQLite calls that function for
// every row that meets the conditions before it. The function passes the columns on and always
// returns false.

/// The columns of a row, read one after the other. Texts are valid until `take` returns.
class Columns {
  public:
    explicit Columns(sqlite3_value** first) : next_(first) {}

    std::int64_t integer();
    std::string_view text();
    std::string_view packed();

  private:
    sqlite3_value** next_;
};

/// Define pass_row() for a connection.
void addPassRow(SQLite::Database& database);

/// One run of such a statement. Used by one thread.
class Scan {
  public:
    using Take = bool (*)(const void* taker, Columns columns);

    /// Passes each row to `take`, together with `taker`, until `take` returns false.
    Scan(Take take, const void* taker) : take_(take), taker_(taker) {}
    Scan(const Scan&) = delete;
    Scan& operator=(const Scan&) = delete;

    /// Run the statement to its end and reset it. `place` is the place of the scan in pass_row().
    /// An exception of `take` ends the run and is thrown. `take` may run other statements of the
    /// connection. Throws SQLite::Exception.
    void run(Prepared& statement, int place);

  private:
    static void passRow(sqlite3_context* context, int count, sqlite3_value** values);
    friend void addPassRow(SQLite::Database& database);

    const Take take_;
    const void* const taker_;
    std::exception_ptr thrown_;
    bool isEnded_ = false;  ///< take_ has returned false
};

/// Run a scan with anything that can be called with Columns. It may return false to end the scan.
template <class Taker>
void scan(Prepared& statement, int place, const Taker& taker) {
    const auto take = [](const void* object, Columns columns) {
        const Taker& each = *static_cast<const Taker*>(object);
        if constexpr (std::is_void_v<decltype(each(columns))>) {
            each(columns);
            return true;
        } else {
            return each(columns);
        }
    };
    Scan(take, &taker).run(statement, place);
}

}  // namespace kelp::inventory
