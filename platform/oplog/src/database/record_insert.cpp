#include "database/record_insert.h"

#include "database/log_file.h"

namespace kelp::oplog {

namespace {

constexpr std::size_t kMany = 64;
constexpr int kHashColumn = 14;

/// The text "(?,?,...), (?,?,...)": one group for each row, one place for each column.
std::string places(std::size_t rows) {
    std::string row = "(?";
    for (int column = 1; column < kHashColumn; ++column)
        row += ",?";
    row += ")";
    std::string all = row;
    for (std::size_t i = 1; i < rows; ++i)
        all += ", " + row;
    return all;
}

std::string insertOf(std::size_t rows) {
    return "INSERT INTO record (" + std::string(kRecordColumns) + ", hash) VALUES " + places(rows);
}

/// Resets the statement before and after use, also if its execution fails.
class Execution {
  public:
    explicit Execution(SQLite::Statement& statement) : statement_(statement) {
        statement_.tryReset();
    }
    ~Execution() { statement_.tryReset(); }
    Execution(const Execution&) = delete;
    Execution& operator=(const Execution&) = delete;

  private:
    SQLite::Statement& statement_;
};

}  // namespace

RecordInsert::RecordInsert(SQLite::Database& database)
    : one_(database, insertOf(1)), many_(database, insertOf(kMany)) {}

void RecordInsert::insert(const std::vector<LogEntry>& entries,
                          const std::vector<std::string>& hashes) {
    for (std::size_t at = 0; at < entries.size();) {
        const std::size_t rows = entries.size() - at >= kMany ? kMany : 1;
        SQLite::Statement& statement = rows == 1 ? one_ : many_;
        const Execution execution(statement);
        for (std::size_t row = 0; row < rows; ++row) {
            const int before = static_cast<int>(row) * kHashColumn;
            bindEntry(statement, entries[at + row], before);
            statement.bindNoCopy(before + kHashColumn, hashes[at + row]);
        }
        statement.exec();
        at += rows;
    }
}

}  // namespace kelp::oplog
