#include <kelp/inventory/transfer.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <memory>
#include <optional>

#include "database/table.h"
#include "files/problems.h"
#include "files/progress_pace.h"
#include "files/record.h"
#include "files/row_import.h"
#include "rows/writing.h"

namespace kelp::inventory {

namespace {

/// A file of the import and its reader.
struct ImportFile {
    std::string name;
    std::unique_ptr<RecordSource> source;
};

/// A record that refers to a missing row. It is read again later.
struct Deferred {
    std::size_t file = 0;
    Place place;
};

std::string csvName(const char* word) {
    return std::string(word) + ".csv";
}

/// Report CSV files that are not named after a kind of object. Otherwise they would be ignored
/// silently.
void refuseStrangers(const std::filesystem::path& folder, Problems& problems) {
    std::vector<std::string> strangers;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        bool isKind = false;
        forEachKind([&](const auto& row) {
            isKind |= name == csvName(Table<std::decay_t<decltype(row)>>::kWord);
        });
        if (entry.path().extension() == ".csv" && !isKind)
            strangers.push_back(name);
    }
    std::sort(strangers.begin(), strangers.end());
    for (const std::string& name : strangers) {
        problems.setFile(0, name);
        problems.add(0, "", "is not a kind of object");
    }
}

std::vector<ImportFile> csvFiles(const std::filesystem::path& source, bool isFolder,
                                 Problems& problems) {
    std::vector<ImportFile> files;
    forEachKind([&](const auto& row) {
        using RowTable = Table<std::decay_t<decltype(row)>>;
        const std::string name = csvName(RowTable::kWord);
        const std::filesystem::path file = isFolder ? source / name : source;
        std::error_code error;
        if (isFolder ? !std::filesystem::exists(file, error) : source.filename() != name)
            return;
        problems.setFile(files.size(), name);
        files.push_back({name, csvSource(file, RowTable::kKind, problems)});
    });
    if (files.empty())
        throw InventoryFailure(source.string() +
                               (isFolder ? " has no file such as " : " is not named as ") +
                               csvName(Table<ManagedElement>::kWord));
    return files;
}

std::vector<ImportFile> filesOf(const std::filesystem::path& source, Problems& problems) {
    std::error_code error;
    if (!std::filesystem::exists(source, error))
        throw InventoryFailure(source.string() + " does not exist");
    if (std::filesystem::is_directory(source, error)) {
        refuseStrangers(source, problems);
        return csvFiles(source, true, problems);
    }
    if (source.extension() == ".csv")
        return csvFiles(source, false, problems);
    std::vector<ImportFile> files;
    files.push_back({source.filename().string(), jsonLinesSource(source)});
    return files;
}

/// One import through a connection that is in a transaction.
class Import {
  public:
    Import(std::vector<ImportFile>& files, RowImport& rows, const Progress& progress,
           Problems& problems)
        : files_(files), problems_(problems), rows_(rows), pace_(progress) {}

    void run(ImportResult& result) {
        readAll(result);
        // a deferred record may refer to another deferred one, so repeat as long as any of them
        // succeeds
        while (!deferred_.empty() && readDeferred(result, RowImport::IfMissing::Leave)) {
        }
        readDeferred(result, RowImport::IfMissing::Tell);
        // with a problem nothing is committed
        if (problems_.count() == 0)
            rows_.finish();
        pace_.end(total_);
    }

  private:
    void readAll(ImportResult& result) {
        for (const ImportFile& file : files_)
            total_ += file.source->size();
        std::uint64_t before = 0;
        Record record;
        for (std::size_t i = 0; i < files_.size(); ++i) {
            problems_.setFile(i, files_[i].name);
            RecordSource& source = *files_[i].source;
            for (auto got = RecordSource::Got::Nothing; got != RecordSource::Got::End;) {
                got = source.next(record, problems_);
                if (got == RecordSource::Got::Record &&
                    !take(record, result, RowImport::IfMissing::Leave))
                    deferred_.push_back({i, record.place});
                pace_.step([&] { return before + source.place().offset; }, total_);
            }
            before += source.size();
        }
    }

    /// Returns true if at least one record was taken out of the list.
    bool readDeferred(ImportResult& result, RowImport::IfMissing ifMissing) {
        std::vector<Deferred> left;
        Record record;
        for (const Deferred& each : deferred_) {
            problems_.setFile(each.file, files_[each.file].name);
            files_[each.file].source->seek(each.place);
            const auto got = files_[each.file].source->next(record, problems_);
            if (got == RecordSource::Got::Record && !take(record, result, ifMissing))
                left.push_back(each);
            pace_.step([this] { return total_; }, total_);
        }
        const bool isFewer = left.size() < deferred_.size();
        deferred_ = std::move(left);
        return isFewer;
    }

    /// Returns false if the record refers to a missing row.
    bool take(const Record& record, ImportResult& result, RowImport::IfMissing ifMissing) {
        const RowImport::Outcome outcome = rows_.take(record, ifMissing);
        result.added += outcome == RowImport::Outcome::Added ? 1 : 0;
        result.updated += outcome == RowImport::Outcome::Updated ? 1 : 0;
        return outcome != RowImport::Outcome::RefersToMissing;
    }

    std::vector<ImportFile>& files_;
    Problems& problems_;
    RowImport& rows_;
    ProgressPace pace_;
    std::uint64_t total_ = 0;
    std::vector<Deferred> deferred_;
};

ImportResult importInto(Connection& connection, const std::filesystem::path& database,
                        const std::filesystem::path& source, const ImportOptions& options) {
    ImportResult result;
    Problems problems;
    std::vector<ImportFile> files = filesOf(source, problems);
    BulkWriting writing(
        connection, database,
        options.replace ? BulkWriting::Clear::ByCaller : BulkWriting::Clear::Nothing);
    RowImport rows(connection, writing.outbox(), problems,
                   options.replace ? RowImport::Mode::Replace : RowImport::Mode::Update);
    Import(files, rows, options.progress, problems).run(result);
    result.problems = problems.first();
    result.problemCount = problems.count();
    if (result.problemCount == 0 && !options.dryRun)
        writing.commit();
    return result;
}

}  // namespace

std::string ImportProblem::text() const {
    // escaped, because keys and values come from the file
    return util::escaped(file + (line == 0 ? "" : ":" + std::to_string(line)) + ": " +
                         (key.empty() ? "" : key + ": ") + what);
}

ImportResult importInventory(const std::filesystem::path& database,
                             const std::filesystem::path& source, const ImportOptions& options) {
    return translated(database, [&] {
        if (options.dryRun) {
            // a trial import into a missing file uses a temporary database
            std::error_code error;
            const bool isThere = std::filesystem::exists(database, error);
            Connection connection(isThere ? database : std::filesystem::path(),
                                  Connection::Use::Write);
            return importInto(connection, database, source, options);
        }
        Connection connection = openForWriting(database);
        return importInto(connection, database, source, options);
    });
}

}  // namespace kelp::inventory
