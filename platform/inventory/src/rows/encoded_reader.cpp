#include "rows/encoded_reader.h"

#include "database/scan.h"
#include "database/table.h"

namespace kelp::inventory {

namespace {

/// Passes on the encoded forms alone. Rows without one are left out.
template <class Row>
const std::string& encodedOnly() {
    static const std::string sql =
        "SELECT NULL FROM " + encodedTable<Row>() +
        " WHERE id BETWEEN ?1 AND ?2 AND pass_row(?3, id, octets) ORDER BY id";
    return sql;
}

/// Passes on all rows, with NULL for a missing encoded form.
template <class Row>
const std::string& allWithEncoded() {
    static const std::string sql =
        std::string("SELECT NULL FROM ") + Table<Row>::kName + " AS row LEFT JOIN " +
        encodedTable<Row>() + " AS form ON form.id = row.id WHERE row.id BETWEEN ?1 AND ?2 AND " +
        "pass_row(?3, row.id, form.octets) ORDER BY row.id";
    return sql;
}

}  // namespace

template <class Row>
EncodedReader<Row>::EncodedReader(Connection& connection, const Encoding& encoding)
    : connection_(connection), encoding_(encoding), ems_(encodedEms(encoding.ems)) {}

template <class Row>
std::uint64_t EncodedReader<Row>::read(IdRange range, EncodedRows& rows) {
    const std::uint32_t countBefore = rows.count;
    const std::size_t sizeBefore = rows.octets.size();
    const std::uint64_t unfitBefore = unfit_;
    bool isAll = scanRange(connection_.prepared(encodedOnly<Row>()), range, rows);
    const std::uint64_t expected =
        isAll ? range.count : static_cast<std::uint64_t>(nextId_ - range.first);
    if (rows.count - countBefore != expected) {
        // some rows have no encoded form, or do not exist any more: the other statement tells which
        rows.count = countBefore;
        rows.octets.resize(sizeBefore);
        unfit_ = unfitBefore;
        isAll = scanRange(connection_.prepared(allWithEncoded<Row>()), range, rows);
    }
    return isAll ? range.count : static_cast<std::uint64_t>(nextId_ - range.first);
}

template <class Row>
bool EncodedReader<Row>::scanRange(Prepared& statement, IdRange range, EncodedRows& rows) {
    bool isFull = false;
    statement.bind(1, range.first);
    statement.bind(2, range.last());
    scan(statement, 3, [&](Columns columns) {
        nextId_ = columns.integer();
        isFull = !append(nextId_, columns.packed(), rows);
        return !isFull;
    });
    return !isFull;
}

template <class Row>
bool EncodedReader<Row>::append(std::int64_t id, std::string_view stored, EncodedRows& rows) {
    const std::size_t before = rows.octets.size();
    CdrWriter(rows.octets, 0).align();
    if (encoding_.discriminator)
        CdrWriter(rows.octets).number(*encoding_.discriminator);
    if (!appendStored(stored, rows.octets)) {
        unfit_ += stored.empty() ? 0 : 1;
        appendFromColumns(id, rows.octets);
    }
    if (rows.count > 0 && rows.octets.size() > encoding_.octetsMax) {
        rows.octets.resize(before);
        return false;
    }
    ++rows.count;
    return true;
}

template <class Row>
bool EncodedReader<Row>::appendStored(std::string_view stored, std::string& octets) const {
    const StoredForm form(stored);
    if (!form.fits())
        return false;
    const std::size_t before = octets.size();
    appendPart(form.octets(), form.name().size(), form.emsAt(), octets);
    const std::string_view made = std::string_view(octets).substr(before);
    if (encoding_.part == Encoding::Part::Name ? isName(made) : isStructure<Row>(made))
        return true;
    octets.resize(before);
    return false;
}

template <class Row>
void EncodedReader<Row>::appendFromColumns(std::int64_t id, std::string& octets) {
    if (!columns_)
        columns_.emplace(connection_, Detail::Standard);
    // reads exactly one row: this one, in the same view of the file
    columns_->readEach({id, 1}, row_, [&](const Row& row) { encode(row, structure_); });
    appendPart(structure_.octets, structure_.nameLength, structure_.emsAt, octets);
}

template <class Row>
void EncodedReader<Row>::appendPart(std::string_view structure, std::size_t nameLength,
                                    std::span<const std::uint32_t> emsAt,
                                    std::string& octets) const {
    if (encoding_.part == Encoding::Part::Name)
        structure = structure.substr(0, nameLength);
    appendWithEms(structure, emsAt, ems_, octets);
}

template class EncodedReader<ManagedElement>;
template class EncodedReader<EquipmentHolder>;
template class EncodedReader<Equipment>;
template class EncodedReader<TerminationPoint>;
template class EncodedReader<TopologicalLink>;
template class EncodedReader<Subnetwork>;

}  // namespace kelp::inventory
