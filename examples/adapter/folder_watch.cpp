#include "folder_watch.h"

#include <kelp/util/private_file.h>
#include <kelp/util/threads.h>
#include <kelp/util/trace_limit.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "report_file.h"

namespace kelp::example {

namespace {

constexpr const char* kSubject = "alarmfolder";
/// Files that are read in one round. The others wait in the folder.
constexpr std::size_t kFilesAtATime = 10'000;
/// Refused files that are kept for a person to read. Further ones are deleted.
constexpr std::ptrdiff_t kRefusedMax = 1000;

bool isReportFile(const std::string& name) {
    return name.ends_with(".alarms") && !name.starts_with('.');
}

}  // namespace

FolderWatch::FolderWatch(Settings settings) : settings_(std::move(settings)) {
    thread_ = util::startThread("alarm folder", [this] { run(); });
}

FolderWatch::~FolderWatch() {
    {
        const util::MutexLock lock(mutex_);
        isStopping_ = true;
        changed_.notify_all();
    }
    thread_.join();
}

void FolderWatch::run() {
    do {
        // whatever the folder holds, the host must not end
        try {
            readFolder();
        } catch (...) {
            util::TraceLine line;
            line.file = kSubject;
            line.function = "unknown";
            line.text = "the folder cannot be read: " + util::currentExceptionText();
            util::traceLimited(std::move(line), "alarm folder unreadable");
        }
    } while (waitForNextRound());
}

void FolderWatch::readFolder() {
    ReportFile file(intake_, settings_.ems, counts_, isStopping_);
    for (const std::string& name : names()) {
        const std::filesystem::path path = settings_.folder / name;
        const ReportFile::Fate fate = file.submit(path);
        // the reports in later files are newer: they wait too
        if (fate == ReportFile::Fate::Later)
            return;
        if (fate == ReportFile::Fate::Refused) {
            moveToRefused(path);
            ++counts_.refusedFiles;
        } else {
            std::filesystem::remove(path);
            ++counts_.files;
        }
    }
}

std::vector<std::string> FolderWatch::names() const {
    std::vector<std::string> all;
    for (const auto& each : std::filesystem::directory_iterator(settings_.folder)) {
        std::string name = each.path().filename().string();
        if (isReportFile(name))
            all.push_back(std::move(name));
        if (all.size() >= kFilesAtATime)
            break;
    }
    std::sort(all.begin(), all.end());
    return all;
}

void FolderWatch::moveToRefused(const std::filesystem::path& file) {
    const std::filesystem::path folder = settings_.folder / "refused";
    if (const std::string problem = util::makePrivateFolder(folder); !problem.empty())
        throw std::runtime_error(folder.string() + " " + problem);
    const auto kept = std::distance(std::filesystem::directory_iterator(folder), {});
    if (kept < kRefusedMax)
        std::filesystem::rename(file, folder / file.filename());
    else
        std::filesystem::remove_all(file);
}

bool FolderWatch::waitForNextRound() {
    const auto end = std::chrono::steady_clock::now() + settings_.poll;
    const util::MutexLock lock(mutex_);
    while (!isStopping_) {
        if (changed_.wait_until(mutex_, end) == util::ConditionVariable::Status::timeout)
            break;
    }
    return !isStopping_;
}

}  // namespace kelp::example
