#pragma once

#include <kelp/inventory/encoded_rows.h>
#include <kelp/inventory/row_ids.h>

#include <optional>
#include <string>

#include "database/connection.h"
#include "encoded/encoded_form.h"
#include "rows/row_reader.h"

namespace kelp::inventory {

/// Reads rows of one kind in their encoded form, through one connection and within a transaction of
/// the caller. A row without an encoded form, or with one that does not fit, is encoded from its
/// columns.
template <class Row>
class EncodedReader {
  public:
    EncodedReader(Connection& connection, const Encoding& encoding);

    /// Append the existing rows of a range, in the order of their ids. Return the number of ids
    /// that were read: fewer than the range has if the octets have reached their limit.
    std::uint64_t read(IdRange range, EncodedRows& rows);

    /// Number of rows that had an encoded form which did not fit.
    std::uint64_t unfit() const { return unfit_; }

  private:
    /// Run a statement that passes on the ids of the range with their encoded forms. Return false
    /// if it has ended because of the limit, at nextId_.
    bool scanRange(Prepared& statement, IdRange range, EncodedRows& rows);
    /// Append a row. Return false, and append nothing, if it would exceed the limit.
    bool append(std::int64_t id, std::string_view stored, EncodedRows& rows);
    /// Return false, and append nothing, if the stored form does not fit.
    bool appendStored(std::string_view stored, std::string& octets) const;
    void appendFromColumns(std::int64_t id, std::string& octets);
    void appendPart(std::string_view structure, std::size_t nameLength,
                    std::span<const std::uint32_t> emsAt, std::string& octets) const;

    Connection& connection_;
    const Encoding encoding_;
    const std::string ems_;  ///< encoded
    std::optional<RowReader<Row>> columns_;
    Row row_;
    Structure structure_;
    std::int64_t nextId_ = 0;
    std::uint64_t unfit_ = 0;
};

extern template class EncodedReader<ManagedElement>;
extern template class EncodedReader<EquipmentHolder>;
extern template class EncodedReader<Equipment>;
extern template class EncodedReader<TerminationPoint>;
extern template class EncodedReader<TopologicalLink>;
extern template class EncodedReader<Subnetwork>;

}  // namespace kelp::inventory
