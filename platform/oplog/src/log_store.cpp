#include "log_store.h"

#include <kelp/util/trace_log.h>

#include <utility>

#include "entry_rules.h"
#include "hash_chain.h"
#include "retention.h"
#include "side_file.h"

namespace kelp::oplog {

namespace {

LogEntry noteOf(const std::string& event, const std::string& object, const std::string& detail) {
    LogEntry entry;
    entry.time = entry.until = now();
    entry.operation = event;
    entry.object = object;
    entry.detail = detail;
    return entry;
}

}  // namespace

template <class Body>
void LogStore::guarded(Body body) {
    try {
        try {
            if (database_ && identityOf(file_) != identity_)
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
            aside_ = setAside(file_);
            util::traceFrom("oplog", std::string("[LogStore] ") + failure.what() + "; set aside as " +
                                         aside_.string() + ", a new one is begun");
        }
        throw;
    }
}

void LogStore::close() {
    insert_.reset();
    database_.reset();
}

void LogStore::open() {
    guarded([] {});
}

void LogStore::openNow() {
    database_ = openForWriting(file_, kind_, busy_);
    identity_ = identityOf(file_);
    insert_ = std::make_unique<RecordInsert>(*database_);
    takeInSideFiles();
}

void LogStore::takeInSideFiles() {
    for (const std::filesystem::path& each : sideFilesOf(file_)) {
        const std::string name = each.filename().string();
        std::vector<LogEntry> entries;
        if (!readSideFile(each, entries))
            continue;
        SQLite::Transaction transaction(*database_, SQLite::TransactionBehavior::IMMEDIATE);
        // a file whose records went in but that a crash left there is not taken in twice
        SQLite::Statement mark(*database_, "INSERT INTO side_file (name) VALUES (?1) ON CONFLICT DO NOTHING");
        mark.bind(1, name);
        ChainHead head = readHead();
        const bool isNew = mark.exec() > 0;
        if (isNew) {
            appendTo(head, entries);
            writeHead(head);
        }
        transaction.commit();
        std::error_code ignored;
        std::filesystem::remove(each, ignored);
        if (isNew)
            util::traceFrom("oplog", "[LogStore] Taken in " + std::to_string(entries.size()) +
                                         " record(s) of " + each.string());
    }
}

void LogStore::append(std::vector<LogEntry>& entries) {
    guarded([&] {
        SQLite::Transaction transaction(*database_, SQLite::TransactionBehavior::IMMEDIATE);
        std::vector<LogEntry> before = notes();
        ChainHead head = readHead();
        appendTo(head, before);
        appendTo(head, entries);
        writeHead(head);
        transaction.commit();
        known_ = head;
        aside_.clear();
    });
}

/// What the security log has to tell of itself before the next record.
std::vector<LogEntry> LogStore::notes() {
    std::vector<LogEntry> notes;
    if (kind_ != LogKind::Security)
        return notes;
    if (!aside_.empty())
        notes.push_back(noteOf("set-aside", aside_.filename().string(), "the file before was damaged"));
    else if (known_.id > 0 && !isKnownHeadThere())
        notes.push_back(noteOf("tampering", known_.text(), "this record was written here and is gone"));
    const bool hasHead = database_->execAndGet("SELECT count(*) FROM head").getInt() > 0;
    if (!hasHead && database_->execAndGet("SELECT count(*) FROM record").getInt() > 0)
        notes.push_back(noteOf("tampering", "", "the noted head of the chain was missing"));
    for (const LogEntry& each : notes)
        util::traceFrom("oplog", "[LogStore] " + file_.string() + ": " + each.operation + " " + each.object +
                                     ": " + each.detail);
    return notes;
}

bool LogStore::isKnownHeadThere() {
    SQLite::Statement query(*database_, "SELECT count(*) FROM record WHERE id = ?1 AND hash = ?2");
    query.bind(1, known_.id);
    query.bind(2, known_.hash);
    return query.executeStep() && query.getColumn(0).getInt() > 0;
}

ChainHead LogStore::readHead() {
    ChainHead head;
    SQLite::Statement noted(*database_, "SELECT id, hash FROM head");
    const bool isNoted = noted.executeStep();
    if (isNoted) {
        head.id = noted.getColumn(0).getInt64();
        head.hash = noted.getColumn(1).getString();
    }
    SQLite::Statement last(*database_, "SELECT id, hash FROM record ORDER BY id DESC LIMIT 1");
    if (last.executeStep() && last.getColumn(0).getInt64() > head.id) {
        head.id = last.getColumn(0).getInt64();
        if (!isNoted)
            head.hash = last.getColumn(1).getString();
    }
    return head;
}

void LogStore::writeHead(const ChainHead& head) {
    SQLite::Statement write(*database_,
                            "INSERT INTO head (one, id, hash) VALUES (1, ?1, ?2) "
                            "ON CONFLICT (one) DO UPDATE SET id = ?1, hash = ?2");
    write.bind(1, head.id);
    write.bind(2, head.hash);
    write.exec();
}

void LogStore::appendTo(ChainHead& head, std::vector<LogEntry>& entries) {
    std::vector<std::string> hashes;
    hashes.reserve(entries.size());
    for (LogEntry& entry : entries) {
        escape(entry);
        entry.id = ++head.id;
        if (kind_ == LogKind::Security)
            head.hash = hashOf(head.hash, entry);
        hashes.push_back(head.hash);
    }
    insert_->insert(entries, hashes);
}

bool LogStore::retain(std::uint64_t bytesMax, std::optional<UtcTime> oldest) {
    bool isMore = false;
    guarded([&] {
        SQLite::Transaction transaction(*database_, SQLite::TransactionBehavior::IMMEDIATE);
        const std::optional<Removal> removal = removeOldest(*database_, bytesMax, oldest);
        if (!removal)
            return;
        if (kind_ == LogKind::Security) {
            std::vector<LogEntry> told{
                noteOf(kRetentionEvent, std::to_string(removal->last.id), removal->last.hash)};
            ChainHead head = readHead();
            appendTo(head, told);
            writeHead(head);
            transaction.commit();
            known_ = head;
        } else {
            transaction.commit();
        }
        database_->exec("PRAGMA incremental_vacuum");
        isMore = removal->isMore;
    });
    return isMore;
}

}  // namespace kelp::oplog
