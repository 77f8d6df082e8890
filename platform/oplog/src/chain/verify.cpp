#include <kelp/oplog/verify.h>

#include <algorithm>
#include <stdexcept>

#include "chain/audit_key.h"
#include "chain/hash_chain.h"
#include "chain/key_mark.h"
#include "database/log_file.h"
#include "records/entry_rules.h"

namespace kelp::oplog {

namespace {

constexpr std::size_t kProblemsTold = 20;

std::string rangeText(std::int64_t first, std::int64_t last) {
    if (first == last)
        return "record " + std::to_string(first) + " is";
    return "records " + std::to_string(first) + " to " + std::to_string(last) + " are";
}

/// Checks the chain in one pass, from the place up to which retention has removed records to the
/// noted head.
class ChainCheck {
  public:
    ChainCheck(SQLite::Database& database, const std::vector<ChainHead>& known, const AuditKey* key)
        : database_(database), known_(known), key_(key) {}

    Verification run() {
        readBeginning();
        readKeyPlace();
        SQLite::Statement rows(
            database_, "SELECT " + std::string(kRecordColumns) + ", hash FROM record ORDER BY id");
        while (rows.executeStep())
            check(entryOf(rows), rows.getColumn(13).getString());
        checkHead();
        for (const ChainHead& each : known_)
            checkKnown(each);
        return result_;
    }

  private:
    void problem(const std::string& sentence) {
        ++result_.problemCount;
        if (result_.problems.size() < kProblemsTold)
            result_.problems.push_back(sentence);
    }

    void readBeginning() {
        SQLite::Statement told(
            database_,
            "SELECT object, detail FROM record WHERE operation = ?1 ORDER BY id DESC LIMIT 1");
        told.bind(1, kRetentionEvent);
        if (!told.executeStep())
            return;
        const std::optional<ChainHead> last =
            ChainHead::of(told.getColumn(0).getString() + ":" + told.getColumn(1).getString());
        if (last)
            before_ = *last;
        else
            problem("the record that tells how far retention has gone was changed");
        removed_ = before_.id;
    }

    void readKeyPlace() {
        if (key_ == nullptr)
            return;
        // the place is stored with the key, so that nobody without the key can claim that the old
        // chain ends elsewhere
        const ChainHead& begun = key_->begun();
        lastWithoutKey_ = begun.id > 0 && isInChain(begun) ? begun.id : 0;
        if (const std::optional<std::string> mark = markedKey(database_);
            mark && *mark != key_->id())
            problem("the log was made with another key");
    }

    bool isMadeWith(const AuditKey* key, const LogEntry& entry, const std::string& hash) const {
        return hashOf(key, before_.hash, entry) == hash;
    }

    void check(const LogEntry& entry, const std::string& hash) {
        result_.firstId = result_.records++ == 0 ? entry.id : result_.firstId;
        if (entry.id <= before_.id)
            problem("record " + std::to_string(entry.id) + " is one that retention had removed");
        else if (entry.id > before_.id + 1)
            problem(rangeText(before_.id + 1, entry.id - 1) + " missing, so that record " +
                    std::to_string(entry.id) + " cannot be checked");
        else if (const AuditKey* const key = entry.id > lastWithoutKey_ ? key_ : nullptr;
                 !isMadeWith(key, entry, hash))
            problem("record " + std::to_string(entry.id) +
                    (key != nullptr && isMadeWith(nullptr, entry, hash)
                         ? " was not made with the key"
                         : " is not what was written there"));
        before_ = {entry.id, hash};
    }

    void checkHead() {
        result_.head = before_;
        SQLite::Statement noted(database_, "SELECT id, hash FROM head");
        if (!noted.executeStep()) {
            if (result_.records > 0)
                problem(
                    "the noted head of the chain is missing, so that it is unknown whether records "
                    "are "
                    "missing at "
                    "the end");
            return;
        }
        const ChainHead head{noted.getColumn(0).getInt64(), noted.getColumn(1).getString()};
        if (head.id > before_.id)
            problem(rangeText(before_.id + 1, head.id) + " missing at the end");
        else if (head.id < before_.id)
            problem(rangeText(head.id + 1, before_.id) + " behind the noted head of the chain");
        else if (head.hash != before_.hash)
            problem("record " + std::to_string(before_.id) + " is not the noted head of the chain");
    }

    void checkKnown(const ChainHead& head) {
        if (head.id > removed_ && !isInChain(head))
            problem("the head " + head.text() + " is not in the chain");
    }

    bool isInChain(const ChainHead& head) {
        SQLite::Statement query(database_,
                                "SELECT count(*) FROM record WHERE id = ?1 AND hash = ?2");
        query.bind(1, head.id);
        query.bind(2, head.hash);
        return query.executeStep() && query.getColumn(0).getInt() > 0;
    }

    SQLite::Database& database_;
    const std::vector<ChainHead>& known_;
    const AuditKey* const key_;        ///< may be null
    std::int64_t lastWithoutKey_ = 0;  ///< number of the last record made without the key
    Verification result_;
    ChainHead before_;
    std::int64_t removed_ = 0;
};

}  // namespace

Verification verify(const std::filesystem::path& database, const std::vector<ChainHead>& known,
                    const std::filesystem::path& keyFile) {
    try {
        const std::shared_ptr<const AuditKey> key =
            keyFile.empty() ? nullptr : AuditKey::read(keyFile);
        const std::unique_ptr<SQLite::Database> opened =
            openForReading(database, LogKind::Security);
        // read one snapshot of the log, however long the check takes
        SQLite::Transaction snapshot(*opened);
        const std::optional<std::string> mark = markedKey(*opened);
        if (key == nullptr && mark)
            throw LogFailure(problemOfKey(database, mark, keyFile, nullptr));
        return ChainCheck(*opened, known, key.get()).run();
    } catch (const SQLite::Exception& failure) {
        throw failureOf(database, failure);
    }
}

}  // namespace kelp::oplog
