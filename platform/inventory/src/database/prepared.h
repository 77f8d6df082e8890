#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3_stmt;

namespace kelp::inventory {

/// A prepared statement that is kept and run many times. Unlike SQLiteCpp's statement it reads
/// columns without copying them. Throws SQLite::Exception.
class Prepared {
  public:
    Prepared(SQLite::Database& database, const std::string& sql);

    // Places count from 1. The caller keeps a bound text alive until the statement is reset. Packed
    // values are copied.
    void bind(int place, std::int64_t value);
    void bindText(int place, std::string_view text);
    void bindPacked(int place, std::string_view bytes);
    void bindNull(int place);
    /// Bind a pointer for an SQL function that accepts that type of pointer. SQLite does not own
    /// the object.
    void bindPointer(int place, void* object, const char* type);
    /// Bind NULL to a place of a reset statement.
    void unbind(int place);

    /// Return true with a row, false at the end.
    bool step();
    /// Run a statement that returns no rows. Returns the number of rows that it changed.
    int execute();
    void reset();

    // Columns count from 0. Texts are valid until the next step.
    std::int64_t integer(int column) const;
    std::string_view text(int column) const;
    std::string_view packed(int column) const;
    bool isNull(int column) const;

  private:
    struct Finalize {
        void operator()(sqlite3_stmt* statement) const;
    };
    void require(int result) const;

    SQLite::Database& database_;
    std::unique_ptr<sqlite3_stmt, Finalize> statement_;
};

/// Resets a statement at the end of the scope. Until then the statement keeps its snapshot of the
/// file.
class ResetAtEnd {
  public:
    explicit ResetAtEnd(Prepared& statement) : statement_(statement) {}
    ~ResetAtEnd() { statement_.reset(); }
    ResetAtEnd(const ResetAtEnd&) = delete;
    ResetAtEnd& operator=(const ResetAtEnd&) = delete;

  private:
    Prepared& statement_;
};

}  // namespace kelp::inventory
