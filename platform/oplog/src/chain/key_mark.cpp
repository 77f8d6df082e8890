#include "chain/key_mark.h"

#include "records/entry_rules.h"

namespace kelp::oplog {

std::optional<std::string> markedKey(SQLite::Database& database) {
    // the word is part of the SQL text, because the index on these records is used only then
    SQLite::Statement query(database, std::string("SELECT object FROM record WHERE operation = '") +
                                          kKeyEvent + "' ORDER BY id DESC LIMIT 1");
    if (!query.executeStep())
        return std::nullopt;
    return query.getColumn(0).getString();
}

std::string problemOfKey(const std::filesystem::path& database,
                         const std::optional<std::string>& mark,
                         const std::filesystem::path& keyFile, const AuditKey* key) {
    const std::string made = "security log " + database.string() + " was made with ";
    if (!mark || (key != nullptr && key->id() == *mark))
        return "";
    if (keyFile.empty())
        return made + "a key, but no key file is given";
    return key == nullptr ? made + "a key, but the file " + keyFile.string() + " is missing"
                          : made + "another key than that in " + keyFile.string();
}

}  // namespace kelp::oplog
