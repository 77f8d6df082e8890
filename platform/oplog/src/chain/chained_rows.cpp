#include "chain/chained_rows.h"

#include <kelp/util/trace_log.h>

#include "chain/hash_chain.h"
#include "chain/key_mark.h"
#include "database/log_file.h"
#include "database/retention.h"
#include "records/entry_rules.h"

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

ChainedRows::ChainedRows(SQLite::Database& database, ChainMemory& memory,
                         const std::filesystem::path& keyFile)
    : database_(database), memory_(memory), insert_(database) {
    // a running log keeps its key even if the file changes
    if (!memory_.key)
        useKey(keyFile);
}

void ChainedRows::useKey(const std::filesystem::path& keyFile) {
    const std::optional<std::string> mark = markedKey(database_);
    std::shared_ptr<const AuditKey> key;
    if (!keyFile.empty()) {
        key = AuditKey::read(keyFile);
        if (!key && !mark) {
            AuditKey::make(keyFile, readHead());
            key = AuditKey::read(keyFile);
        }
    }
    if (const std::string problem = problemOfKey(database_.getFilename(), mark, keyFile, key.get());
        !problem.empty())
        throw LogFailure(problem);
    memory_.key = std::move(key);
}

/// Mark a chain that continues with a key, unless it is marked already.
void ChainedRows::addMark(std::vector<LogEntry>& entries) {
    if (!memory_.key || markedKey(database_))
        return;
    const ChainHead head = readHead();
    const ChainHead& begun = memory_.key->begun();
    // once there is a key, only somebody who lacks it makes records without it
    if (head.id > 0 && (head.id != begun.id || head.hash != begun.hash))
        entries.push_back(noteOf("tampering", "", "its records were not made with the key"));
    entries.push_back(
        noteOf(kKeyEvent, memory_.key->id(), "from here on the chain is made with this key"));
}

void ChainedRows::append(std::vector<LogEntry>& entries) {
    std::vector<LogEntry> before = notes();
    ChainHead head = readHead();
    appendTo(head, before);
    appendTo(head, entries);
    writeHead(head);
}

void ChainedRows::append(const LogBatch& batch) {
    std::vector<LogEntry> entries;
    appendEntries(batch, entries);
    append(entries);
}

void ChainedRows::committed() {
    if (uncommitted_.id == 0)
        return;
    memory_.written = uncommitted_;
    memory_.aside.clear();
}

/// The records that the log itself adds before the next record.
std::vector<LogEntry> ChainedRows::notes() {
    std::vector<LogEntry> notes;
    addMark(notes);
    if (!memory_.aside.empty())
        notes.push_back(
            noteOf("set-aside", memory_.aside.filename().string(), "the file before was damaged"));
    else if (memory_.written.id > 0 && !isWrittenHeadThere())
        notes.push_back(noteOf("tampering", memory_.written.text(),
                               "this record was written here and is gone"));
    const bool hasHead = database_.execAndGet("SELECT count(*) FROM head").getInt() > 0;
    if (!hasHead && database_.execAndGet("SELECT count(*) FROM record").getInt() > 0)
        notes.push_back(noteOf("tampering", "", "the noted head of the chain was missing"));
    for (const LogEntry& each : notes) {
        if (each.operation == kKeyEvent)
            continue;
        util::traceFrom("oplog", "[ChainedRows] " + database_.getFilename() + ": " +
                                     each.operation + " " + each.object + ": " + each.detail);
    }
    return notes;
}

bool ChainedRows::isWrittenHeadThere() {
    SQLite::Statement query(database_, "SELECT count(*) FROM record WHERE id = ?1 AND hash = ?2");
    query.bind(1, memory_.written.id);
    query.bind(2, memory_.written.hash);
    return query.executeStep() && query.getColumn(0).getInt() > 0;
}

ChainHead ChainedRows::readHead() {
    ChainHead head;
    SQLite::Statement noted(database_, "SELECT id, hash FROM head");
    const bool isNoted = noted.executeStep();
    if (isNoted) {
        head.id = noted.getColumn(0).getInt64();
        head.hash = noted.getColumn(1).getString();
    }
    SQLite::Statement last(database_, "SELECT id, hash FROM record ORDER BY id DESC LIMIT 1");
    if (last.executeStep() && last.getColumn(0).getInt64() > head.id) {
        head.id = last.getColumn(0).getInt64();
        if (!isNoted)
            head.hash = last.getColumn(1).getString();
    }
    return head;
}

void ChainedRows::writeHead(const ChainHead& head) {
    SQLite::Statement write(database_,
                            "INSERT INTO head (one, id, hash) VALUES (1, ?1, ?2) "
                            "ON CONFLICT (one) DO UPDATE SET id = ?1, hash = ?2");
    write.bind(1, head.id);
    write.bind(2, head.hash);
    write.exec();
    uncommitted_ = head;
}

void ChainedRows::appendTo(ChainHead& head, std::vector<LogEntry>& entries) {
    std::vector<std::string> hashes;
    hashes.reserve(entries.size());
    for (LogEntry& entry : entries) {
        escape(entry);
        entry.id = ++head.id;
        head.hash = hashOf(memory_.key.get(), head.hash, entry);
        hashes.push_back(head.hash);
    }
    insert_.insert(entries, hashes);
}

std::optional<bool> ChainedRows::removeOldest(std::uint64_t bytesMax,
                                              std::optional<UtcTime> oldest) {
    const std::optional<Removal> removal = oplog::removeOldest(database_, kRows, bytesMax, oldest);
    if (!removal)
        return std::nullopt;
    std::vector<LogEntry> told{
        noteOf(kRetentionEvent, std::to_string(removal->last.id), removal->last.hash)};
    // if the mark was removed, write it again
    if (memory_.key && !markedKey(database_))
        told.push_back(noteOf(kKeyEvent, memory_.key->id(), "the chain is made with this key"));
    ChainHead head = readHead();
    appendTo(head, told);
    writeHead(head);
    return removal->isMore;
}

}  // namespace kelp::oplog
