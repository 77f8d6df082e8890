#pragma once

#include <SQLiteCpp/SQLiteCpp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sqlite3_stmt;

namespace kelp::inventory {

/// A statement that is kept and run again and again. Reads columns without the copies that
/// SQLiteCpp's makes for each. Throws SQLite::Exception.
class Prepared {
  public:
    Prepared(SQLite::Database& database, const std::string& sql);

    // Places count from 1. Bound texts must stay until the statement is reset; packed ones are
    // copied.
    void bind(int place, std::int64_t value);
    void bindText(int place, std::string_view text);
    void bindPacked(int place, std::string_view bytes);
    void bindNull(int place);
    /// Something of the program's own, for a function of that type; nothing owns it.
    void bindPointer(int place, void* object, const char* type);
    /// Makes the place of a reset statement NULL again.
    void unbind(int place);

    /// True with a row, false at the end.
    bool step();
    /// Runs a statement that gives no row. Returns how many rows it changed.
    int execute();
    void reset();

    // Columns count from 0. Texts are good until the next step.
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

/// Resets a statement at the end of the scope, so that nothing of it keeps the file's state.
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
