#include "writing/log_store.h"

#include <kelp/util/trace_log.h>

#include <utility>

#include "database/operation_blocks.h"
#include "database/side_file.h"

namespace kelp::oplog {

template <class Body>
void LogStore::guarded(Body body) {
    try {
        try {
            if (database_ && util::identityOf(file_) != identity_)
                close();
            if (!database_)
                openNow();
            body();
        } catch (const SQLite::Exception& failure) {
            throw failureOf(file_, failure);
        }
    } catch (const LogFailure& failure) {
        close();
        if (failure.isDamage() && damaged_ == Damaged::IsSetAside) {
            memory_.aside = setAside(file_);
            util::traceFrom("oplog", std::string("[LogStore] ") + failure.what() +
                                         "; set aside as " + memory_.aside.string() +
                                         ", a new one is begun");
        }
        throw;
    }
}

void LogStore::close() {
    table_.reset();
    database_.reset();
}

void LogStore::open() {
    guarded([] {});
}

void LogStore::openNow() {
    database_ = openForWriting(file_, kind_, busy_);
    identity_ = util::identityOf(file_);
    if (kind_ == LogKind::Security)
        table_ = std::make_unique<ChainedRows>(*database_, memory_, keyFile_);
    else
        table_ = std::make_unique<OperationBlocks>(*database_);
    takeInSideFiles();
}

void LogStore::takeInSideFiles() {
    for (const std::filesystem::path& each : sideFilesOf(file_)) {
        const std::string name = each.filename().string();
        std::vector<LogEntry> entries;
        if (!readSideFile(each, entries))
            continue;
        SQLite::Transaction transaction(*database_, SQLite::TransactionBehavior::IMMEDIATE);
        // a crash may have left the file after its records were imported: import it only once
        SQLite::Statement mark(*database_,
                               "INSERT INTO side_file (name) VALUES (?1) ON CONFLICT DO NOTHING");
        mark.bind(1, name);
        const bool isNew = mark.exec() > 0;
        if (isNew)
            table_->append(entries);
        transaction.commit();
        table_->committed();
        std::error_code ignored;
        std::filesystem::remove(each, ignored);
        if (isNew)
            util::traceFrom("oplog", "[LogStore] Taken in " + std::to_string(entries.size()) +
                                         " record(s) of " + each.string());
    }
}

template <class Records>
void LogStore::appendAll(Records& records) {
    guarded([&] {
        SQLite::Transaction transaction(*database_, SQLite::TransactionBehavior::IMMEDIATE);
        table_->append(records);
        transaction.commit();
        table_->committed();
    });
}

void LogStore::append(const LogBatch& batch) {
    appendAll(batch);
}

void LogStore::append(std::vector<LogEntry>& entries) {
    appendAll(entries);
}

bool LogStore::retain(std::uint64_t bytesMax, std::optional<UtcTime> oldest) {
    bool isMore = false;
    guarded([&] {
        SQLite::Transaction transaction(*database_, SQLite::TransactionBehavior::IMMEDIATE);
        const std::optional<bool> removed = table_->removeOldest(bytesMax, oldest);
        if (!removed)
            return;
        transaction.commit();
        table_->committed();
        database_->exec("PRAGMA incremental_vacuum");
        isMore = *removed;
    });
    return isMore;
}

}  // namespace kelp::oplog
