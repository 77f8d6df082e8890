#include <kelp/inventory/change_feed.h>
#include <kelp/inventory/inventory.h>
#include <kelp/inventory/object_name.h>
#include <kelp/util/file_identity.h>

#include <algorithm>
#include <atomic>
#include <type_traits>
#include <utility>

#include "database/change_signal.h"
#include "database/connection.h"
#include "database/table.h"
#include "rows/outbox.h"
#include "rows/packed_values.h"
#include "rows/row_difference.h"
#include "rows/row_reader.h"

namespace kelp::inventory {

namespace {

using Clock = std::chrono::steady_clock;

struct OutboxEntry {
    std::int64_t id = 0;
    std::int64_t at = 0;
    OutboxOperation operation = OutboxOperation::Created;
    ObjectKind kind = ObjectKind::Ems;
    IdRange rows;
    bool isEdgePoint = false;
    std::string detail;
};

std::vector<OutboxEntry> readEntries(Connection& connection, std::size_t most) {
    std::vector<OutboxEntry> entries;
    Prepared& query = connection.prepared(
        "SELECT id, at, operation, kind, first_id, last_id, edge_point, detail FROM change_outbox "
        "ORDER BY id LIMIT ?1");
    const ResetAtEnd reset(query);
    query.bind(1, static_cast<std::int64_t>(most));
    while (query.step()) {
        OutboxEntry& entry = entries.emplace_back();
        entry.id = query.integer(0);
        entry.at = query.integer(1);
        entry.operation = static_cast<OutboxOperation>(query.integer(2));
        entry.kind = static_cast<ObjectKind>(query.integer(3));
        const std::int64_t first = query.integer(4);
        entry.rows = {first, static_cast<std::uint64_t>(query.integer(5) - first + 1)};
        entry.isEdgePoint = query.integer(6) != 0;
        entry.detail = query.packed(7);
    }
    return entries;
}

/// The existing rows of a range, without CTPs, at most `most`.
template <class Row>
RowIds createdIds(Connection& connection, const IdRange& range, std::size_t most) {
    RowIds ids;
    Prepared& query = connection.prepared(
        std::string("SELECT id FROM ") + Table<Row>::kName + " WHERE id BETWEEN ?1 AND ?2" +
        (std::is_same_v<Row, TerminationPoint> ? " AND port_id IS NULL" : "") +
        " ORDER BY id LIMIT ?3");
    const ResetAtEnd reset(query);
    query.bind(1, range.first);
    query.bind(2, range.last());
    query.bind(3, static_cast<std::int64_t>(most));
    while (query.step())
        ids.append(query.integer(0));
    return ids;
}

/// Turns entries of the outbox into changes.
class ChangeReader {
  public:
    ChangeReader(Connection& connection, std::size_t most) : connection_(connection), most_(most) {}

    void take(const OutboxEntry& entry) {
        switch (entry.operation) {
            case OutboxOperation::Created:
                return withKind(entry.kind, [&](const auto& row) {
                    takeCreated<std::decay_t<decltype(row)>>(entry);
                });
            case OutboxOperation::Changed:
                return withKind(entry.kind, [&](const auto& row) {
                    takeChanged<std::decay_t<decltype(row)>>(entry);
                });
            case OutboxOperation::Deleted: {
                ObjectChange& change = add(entry, ObjectChange::Operation::Deleted);
                withKind(entry.kind, [&](const auto& row) { change.row = row; });
                change.isEdgePoint = entry.isEdgePoint;
                return unpack(entry.detail, change.name);
            }
            case OutboxOperation::Lost:
                add(entry, ObjectChange::Operation::Lost);
                return;
        }
        throw InventoryFailure("the outbox of the inventory is damaged");
    }
    bool isFull() const { return changes_.size() >= most_; }
    std::vector<ObjectChange> changes() && { return std::move(changes_); }

  private:
    ObjectChange& add(const OutboxEntry& entry, ObjectChange::Operation operation) {
        ObjectChange& change = changes_.emplace_back();
        change.operation = operation;
        change.kind = entry.kind;
        change.entry = entry.id;
        change.rowId = entry.rows.first;
        change.key = keyOf(entry, change.rowId);
        return change;
    }
    /// The time makes keys of different files differ.
    static std::string keyOf(const OutboxEntry& entry, std::int64_t rowId) {
        return "inventory/" + std::to_string(entry.at) + '/' + std::to_string(entry.id) + '/' +
               std::to_string(rowId);
    }

    template <class Row>
    void takeCreated(const OutboxEntry& entry) {
        if constexpr (!std::is_same_v<Row, EmsAttributes>) {
            const RowIds ids = createdIds<Row>(connection_, entry.rows, most_ - changes_.size());
            Row room;
            RowReader<Row> reader(connection_, Detail::All);
            for (const IdRange& range : ids.ranges())
                reader.readEach(range, room, [&](const Row& row) {
                    ObjectChange& change = add(entry, ObjectChange::Operation::Created);
                    change.rowId = row.id;
                    change.key = keyOf(entry, row.id);
                    describe(row, change);
                });
        }
    }

    template <class Row>
    void takeChanged(const OutboxEntry& entry) {
        std::vector<Row> rows;
        RowReader<Row>(connection_, Detail::All).read({entry.rows.first, 1}, rows);
        if constexpr (std::is_same_v<Row, EmsAttributes>)
            rows.resize(1);  // without a row, the EMS has the defaults
        if (rows.empty())
            return;  // deleted since: its deletion is another entry
        std::vector<std::string> changes;
        unpack(entry.detail, changes);
        ObjectChange& change = add(entry, ObjectChange::Operation::Changed);
        change.attributes = reduceToChanges(rows.front(), changes);
        describe(rows.front(), change);
    }

    template <class Row>
    static void describe(const Row& row, ObjectChange& change) {
        change.row = row;
        if constexpr (std::is_same_v<Row, TerminationPoint>)
            change.isEdgePoint = row.edgePoint;
        if constexpr (!std::is_same_v<Row, EmsAttributes>)
            eachComponent(row, [&](const char* component, const std::string& value) {
                change.name.push_back({component, value});
            });
    }

    Connection& connection_;
    const std::size_t most_;
    std::vector<ObjectChange> changes_;
};

}  // namespace

struct ChangeFeed::State {
    explicit State(const std::filesystem::path& path)
        : file(path), identity(identityOfMade(path)), connection(openForWriting(path)) {}

    static util::FileIdentity identityOfMade(const std::filesystem::path& path) {
        makeMissing(path);
        return util::identityOf(path);
    }

    std::int64_t version() {
        return connection.database().execAndGet("PRAGMA data_version").getInt64();
    }

    void removeUpTo(std::int64_t entry) {
        Prepared& removal = connection.prepared("DELETE FROM change_outbox WHERE id <= ?1");
        removal.bind(1, entry);
        removal.execute();
    }

    const std::filesystem::path file;
    const util::FileIdentity identity;
    Connection connection;
    std::atomic<bool> isStopping = false;
    std::int64_t seenVersion = -1;
};

ChangeFeed::ChangeFeed(const std::filesystem::path& file) : state_(std::make_unique<State>(file)) {
    translated(file, [&] {
        Connection& connection = state_->connection;
        // no write when it is recording already: another process may be importing
        if (connection.database().execAndGet("SELECT is_recording FROM outbox_state").getInt() == 0)
            connection.prepared("UPDATE outbox_state SET is_recording = 1").execute();
    });
}

ChangeFeed::~ChangeFeed() = default;

bool ChangeFeed::isCurrent() const {
    return util::identityOf(state_->file) == state_->identity;
}

std::vector<ObjectChange> ChangeFeed::next(std::size_t most) {
    return translated(state_->file, [&] {
        for (;;) {
            std::vector<OutboxEntry> entries;
            std::vector<ObjectChange> changes;
            {
                // one view of the entries and of the rows that they name
                SQLite::Transaction view(state_->connection.database());
                entries = readEntries(state_->connection, most);
                ChangeReader reader(state_->connection, most);
                for (auto each = entries.begin(); each != entries.end() && !reader.isFull(); ++each)
                    reader.take(*each);
                changes = std::move(reader).changes();
            }
            if (entries.empty() || !changes.empty())
                return changes;
            // nothing of them is left to report
            state_->removeUpTo(entries.back().id);
        }
    });
}

void ChangeFeed::handedOver(const ObjectChange& last) {
    translated(state_->file, [&] {
        Connection& connection = state_->connection;
        SQLite::Transaction transaction(connection.database(),
                                        SQLite::TransactionBehavior::IMMEDIATE);
        state_->removeUpTo(last.entry - 1);
        Prepared& advance = connection.prepared(
            "UPDATE change_outbox SET first_id = ?2 WHERE id = ?1 AND last_id >= ?2");
        advance.bind(1, last.entry);
        advance.bind(2, last.rowId + 1);
        if (last.operation != ObjectChange::Operation::Created || advance.execute() == 0)
            state_->removeUpTo(last.entry);
        transaction.commit();
    });
}

void ChangeFeed::waitForNews(std::chrono::milliseconds patience) {
    const Clock::time_point until = Clock::now() + patience;
    ChangeSignal& signal = ChangeSignal::instance();
    for (;;) {
        const std::uint64_t count = signal.count();
        const std::int64_t version = translated(state_->file, [this] { return state_->version(); });
        const Clock::time_point now = Clock::now();
        if (state_->isStopping || version != state_->seenVersion || now >= until) {
            state_->seenVersion = version;
            return;
        }
        signal.waitWhile(count, state_->isStopping, std::min(until, now + kPoll));
    }
}

void ChangeFeed::stopWaiting() {
    state_->isStopping = true;
    ChangeSignal::instance().wakeAll();
}

}  // namespace kelp::inventory
