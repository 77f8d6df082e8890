#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <exception>
#include <string_view>

#include "database/prepared.h"

struct sqlite3_context;
struct sqlite3_value;

namespace kelp::inventory {

// Rows that are taken within one step of their statement. A step for each row, and a call for each
// column that looks for errors every time, costs as much again as what SQLite does to find the row.
// So the statement's condition ends in "AND pass_row(?n, column, ...)", which is asked of every row
// that meets what stands before it, passes the columns on, and is never true.

/// The columns of a row, one after the other. Texts are good until the row was taken.
class Columns {
  public:
    explicit Columns(sqlite3_value** first) : next_(first) {}

    std::int64_t integer();
    std::string_view text();
    std::string_view packed();

  private:
    sqlite3_value** next_;
};

/// Makes pass_row() known to a connection.
void addPassRow(SQLite::Database& database);

/// One run of such a statement, for one thread.
class Scan {
  public:
    using Take = void (*)(const void* taker, Columns columns);

    /// Every row goes to `take` with `taker`.
    Scan(Take take, const void* taker) : take_(take), taker_(taker) {}
    Scan(const Scan&) = delete;
    Scan& operator=(const Scan&) = delete;

    /// Runs the statement, whose pass_row() names the place, to its end and resets it. What `take`
    /// throws ends it and is thrown; `take` may run other statements of the connection. Throws
    /// SQLite::Exception.
    void run(Prepared& statement, int place);

  private:
    static void passRow(sqlite3_context* context, int count, sqlite3_value** values);
    friend void addPassRow(SQLite::Database& database);

    const Take take_;
    const void* const taker_;
    std::exception_ptr thrown_;
};

/// The same with whatever can be called with Columns.
template <class Taker>
void scan(Prepared& statement, int place, const Taker& taker) {
    Scan([](const void* object, Columns columns) { (*static_cast<const Taker*>(object))(columns); },
         &taker)
        .run(statement, place);
}

}  // namespace kelp::inventory
