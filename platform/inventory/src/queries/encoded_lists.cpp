#include <kelp/inventory/inventory.h>
#include <kelp/util/trace_log.h>

#include "database/inventory_state.h"
#include "rows/encoded_reader.h"
#include "rows/encoding_round.h"

namespace kelp::inventory {

/// Trace the first time that rows do not fit, and let the next start of a host check all rows. That
/// is not worth waiting for another writer.
void Inventory::State::noteUnfit(std::uint64_t count) {
    if (count == 0 || unfit.fetch_add(count) != 0)
        return;
    util::traceFrom("inventory",
                    "the encoded form of a row does not fit: it is damaged or of another version. "
                    "Such rows are encoded from their columns until the inventory is next opened");
    if (!writing.try_lock())
        return;
    const util::MutexLock lock(writing, std::adopt_lock);
    SQLite::Database& database = writer.database();
    try {
        const int patience = database.execAndGet("PRAGMA busy_timeout").getInt();
        database.setBusyTimeout(0);
        const int result = database.tryExec("UPDATE encoded_state SET version = 0");
        static_cast<void>(result);  // a later damage is noticed again
        database.setBusyTimeout(patience);
    } catch (const SQLite::Exception& failure) {
        util::traceFrom("inventory", failureOf(file, failure).what());
    }
}

template <class Row>
std::uint64_t Inventory::readEncoded(const RowIds& ids, const Encoding& encoding,
                                     EncodedRows& rows) {
    return state_->reading([&](auto& lease) {
        EncodedReader<Row> reader(lease.connection(), encoding);
        std::uint64_t read = 0;
        for (const IdRange& range : ids.ranges()) {
            const std::uint64_t ofRange = reader.read(range, rows);
            read += ofRange;
            if (ofRange < range.count)
                break;
        }
        state_->noteUnfit(reader.unfit());
        return read;
    });
}

std::uint64_t Inventory::unfitRows() const {
    return state_->unfit;
}

template std::uint64_t Inventory::readEncoded<ManagedElement>(const RowIds&, const Encoding&,
                                                              EncodedRows&);
template std::uint64_t Inventory::readEncoded<EquipmentHolder>(const RowIds&, const Encoding&,
                                                               EncodedRows&);
template std::uint64_t Inventory::readEncoded<Equipment>(const RowIds&, const Encoding&,
                                                         EncodedRows&);
template std::uint64_t Inventory::readEncoded<TerminationPoint>(const RowIds&, const Encoding&,
                                                                EncodedRows&);
template std::uint64_t Inventory::readEncoded<TopologicalLink>(const RowIds&, const Encoding&,
                                                               EncodedRows&);
template std::uint64_t Inventory::readEncoded<Subnetwork>(const RowIds&, const Encoding&,
                                                          EncodedRows&);

}  // namespace kelp::inventory
