#pragma once

#include <kelp/inventory/model.h>

#include <cstdint>
#include <map>
#include <vector>

#include "database/connection.h"
#include "files/record.h"
#include "names/name_index.h"
#include "rows/row_writer.h"

namespace kelp::inventory {

/// Writes the objects of an import one after the other, within a transaction of the caller.
class RowImport {
  public:
    enum class Outcome { Added, Updated, Wrong, RefersToMissing };
    /// What to do with a record that refers to a missing row: leave it for later, because a later
    /// record may add the row, or report it.
    enum class IfMissing { Leave, Tell };

    RowImport(Connection& connection, Problems& problems)
        : connection_(connection), problems_(problems), index_(connection), writer_(connection) {}

    Outcome take(const Record& record, IfMissing ifMissing);

  private:
    /// The line in which each row was given. Needs 4 bytes a row.
    class Lines {
      public:
        /// Remember the line in which a row is given first. Returns 0 then, and that line for every
        /// later one.
        std::uint32_t note(std::int64_t id, std::uint64_t line);

      private:
        std::int64_t first_ = 0;
        std::vector<std::uint32_t> lines_;
    };

    template <class Row>
    Outcome takeRow(const Record& record, IfMissing ifMissing);
    enum class Whether { New, There };
    template <class Row>
    bool takeAttributes(const Record& record, Row& row, Whether whether);
    template <class Row>
    bool noteLine(const Record& record, std::int64_t id, const Row& row);

    Connection& connection_;
    Problems& problems_;
    NameIndex index_;
    RowWriter writer_;
    std::map<ObjectKind, Lines> lines_;
};

}  // namespace kelp::inventory
