#pragma once

#include <kelp/inventory/model.h>

#include <cstdint>
#include <map>
#include <vector>

#include "database/connection.h"
#include "files/record.h"
#include "files/record_names.h"
#include "names/name_index.h"
#include "rows/outbox.h"
#include "rows/row_writer.h"

namespace kelp::inventory {

/// Writes the objects of an import one after the other, within a transaction of the caller.
class RowImport {
  public:
    enum class Outcome { Added, Updated, Wrong, RefersToMissing };
    /// What to do with a record that refers to a missing row: leave it for later, because a later
    /// record may add the row, or report it.
    enum class IfMissing { Leave, Tell };

    /// What becomes of the present content. Update: a record changes the attributes that it gives,
    /// and objects without a record stay. Replace: a record gives all attributes, the others get
    /// their defaults; it may refer only to objects that have a record; objects without a record
    /// are deleted in the end. Only what differs is written, so that an object keeps its row id.
    enum class Mode { Update, Replace };

    RowImport(Connection& connection, Outbox& outbox, Problems& problems, Mode mode);

    Outcome take(const Record& record, IfMissing ifMissing);
    /// Call it after the last record.
    void finish();

  private:
    /// The line in which each row was given. Needs 4 bytes a row.
    class Lines {
      public:
        /// Remember the line in which a row is given first. Returns 0 then, and that line for every
        /// later one.
        std::uint32_t note(std::int64_t id, std::uint64_t line);
        /// Whether the row was given.
        bool has(std::int64_t id) const;

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
    bool takeChanges(const Record& record, Row& named, Identity& identity);
    bool isGiven(ObjectKind kind, std::int64_t id) const;
    template <class Row>
    bool noteLine(const Record& record, std::int64_t id, const Row& row);

    Connection& connection_;
    Outbox& outbox_;
    Problems& problems_;
    const Mode mode_;
    NameIndex index_;  ///< of all rows
    NameIndex given_;  ///< of the rows that a record may refer to
    RowWriter writer_;
    std::map<ObjectKind, Lines> lines_;
};

}  // namespace kelp::inventory
