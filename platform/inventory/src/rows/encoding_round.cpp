#include "rows/encoding_round.h"

#include <kelp/inventory/failure.h>

#include <cstdint>
#include <type_traits>
#include <vector>

#include "database/table.h"
#include "encoded/encoded_form.h"
#include "rows/row_reader.h"
#include "rows/row_writer.h"

namespace kelp::inventory {

namespace {

/// Rows that one transaction checks.
constexpr std::int64_t kRowsAtOnce = 5000;

void setEncodedVersion(Connection& connection, int version) {
    Prepared& update = connection.prepared("UPDATE encoded_state SET version = ?1");
    update.bind(1, version);
    update.execute();
}

bool isEncoded(Connection& connection) {
    Prepared& query = connection.prepared("SELECT version FROM encoded_state");
    const ResetAtEnd reset(query);
    return query.step() && query.integer(0) == kEncodedVersion;
}

/// The ids of the rows after `last` that have no encoded form that fits. Moves `last` to the last
/// row that was checked. Returns false when there are no rows after it.
template <class Row>
bool findUnfit(Connection& connection, std::int64_t& last, std::vector<std::int64_t>& ids) {
    const std::string table = Table<Row>::kName;
    Prepared& query = connection.prepared(
        "SELECT id, octets FROM " + table + " LEFT JOIN " + encodedTable<Row>() +
        " USING (id) WHERE id > ?1 ORDER BY id LIMIT " + std::to_string(kRowsAtOnce));
    const ResetAtEnd reset(query);
    query.bind(1, last);
    std::int64_t checked = 0;
    for (; query.step(); ++checked) {
        last = query.integer(0);
        if (!StoredForm(query.packed(1)).fits())
            ids.push_back(last);
    }
    return checked > 0;
}

/// Encode a row. One that cannot be read keeps what it has: a list that contains it fails with a
/// separate message.
template <class Row>
void encodeRow(RowReader<Row>& reader, RowWriter& writer, std::int64_t id, std::vector<Row>& room) {
    room.clear();
    try {
        reader.read({id, 1}, room);
    } catch (const InventoryFailure&) {
        return;
    }
    for (const Row& row : room)
        writer.writeEncoded(id, row);
}

template <class Row>
void encodeKind(Connection& connection) {
    std::int64_t last = 0;
    std::vector<std::int64_t> ids;
    std::vector<Row> room;
    for (bool isMore = true; isMore;) {
        ids.clear();
        SQLite::Transaction transaction(connection.database(),
                                        SQLite::TransactionBehavior::IMMEDIATE);
        isMore = findUnfit<Row>(connection, last, ids);
        RowReader<Row> reader(connection, Detail::Standard);
        RowWriter writer(connection);
        for (const std::int64_t id : ids)
            encodeRow(reader, writer, id, room);
        transaction.commit();
    }
}

}  // namespace

void encodeMissing(Connection& connection) {
    if (isEncoded(connection))
        return;
    forEachKind([&](const auto& row) {
        using Row = std::decay_t<decltype(row)>;
        if constexpr (kIsEncoded<Row>)
            encodeKind<Row>(connection);
    });
    setEncodedVersion(connection, kEncodedVersion);
}

void requestEncoding(Connection& connection) {
    setEncodedVersion(connection, 0);
}

}  // namespace kelp::inventory
