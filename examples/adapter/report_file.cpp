#include "report_file.h"

#include <fcntl.h>
#include <kelp/util/trace_limit.h>
#include <sys/stat.h>

#include <stdexcept>
#include <utility>

#include "report.h"

namespace kelp::example {

namespace {

using alarms::IntakeRefused;

constexpr const char* kSubject = "alarmfolder";
/// Reports that are submitted together. They share one write to the disk, which takes longer than
/// reading them.
constexpr std::size_t kGroup = 500;
constexpr off_t kFileBytesMax = 64 << 20;
constexpr std::size_t kNameInKeyMax = 40;

/// Identifies this file among all that were ever in the folder. Nobody can set the time of the last
/// change of an inode, and a rename changes it.
std::string keyOf(const std::string& name, const struct stat& about) {
    return name.substr(0, kNameInKeyMax) + ":" + std::to_string(about.st_ino) + ":" +
           std::to_string(about.st_ctim.tv_sec) + "." + std::to_string(about.st_ctim.tv_nsec) +
           ":" + std::to_string(about.st_size);
}

}  // namespace

ReportFile::Fate ReportFile::submit(const std::filesystem::path& file) {
    name_ = file.filename().string();
    hasRefused_ = false;
    // O_NONBLOCK: a FIFO without a writer would stop the adapter
    util::Descriptor opened(::open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    struct stat about {};
    if (!opened.isOpen() || ::fstat(opened.get(), &about) != 0 || !S_ISREG(about.st_mode) ||
        about.st_size > kFileBytesMax) {
        refuse(0,
               "it is not a readable file of at most " + std::to_string(kFileBytesMax) + " octets");
        return Fate::Refused;
    }
    key_ = keyOf(name_, about);
    reports_.clear();
    lineNumbers_.clear();
    LineReader lines(std::move(opened));
    while (const auto line = lines.next()) {
        add(*line);
        if (reports_.size() >= kGroup && !flush())
            return Fate::Later;
    }
    if (!flush())
        return Fate::Later;
    return hasRefused_ ? Fate::Refused : Fate::Done;
}

void ReportFile::add(const Line& line) {
    try {
        if (!line.problem.empty())
            throw std::runtime_error(line.problem);
        reports_.push_back(readReport(line.text, ems_));
        lineNumbers_.push_back(line.number);
    } catch (const std::exception& wrong) {
        refuse(line.number, wrong.what());
    }
}

/// Submit the reports read so far. False when they must be submitted again later.
bool ReportFile::flush() {
    if (isStopping_)
        return false;
    if (reports_.empty())
        return true;
    const std::size_t count = reports_.size();
    try {
        intake_.submit(reports_, key_ + ":" + std::to_string(lineNumbers_.front()));
        counts_.reports += count;
    } catch (const IntakeRefused& refused) {
        if (refused.isTemporary()) {
            ++counts_.waits;
            return false;
        }
        if (!flushEach())
            return false;
    }
    reports_.clear();
    lineNumbers_.clear();
    return true;
}

/// One of the reports is at fault: submit each alone, under a key that no group has. After a crash
/// meanwhile the group may be accepted, and then some reports are repeated, in their order.
bool ReportFile::flushEach() {
    for (std::size_t at = 0; at < reports_.size(); ++at) {
        try {
            intake_.submit({reports_[at]}, key_ + ":" + std::to_string(lineNumbers_[at]) + "a");
            ++counts_.reports;
        } catch (const IntakeRefused& refused) {
            if (refused.isTemporary()) {
                ++counts_.waits;
                return false;
            }
            refuse(lineNumbers_[at], refused.what());
        }
    }
    return true;
}

void ReportFile::refuse(std::size_t lineNumber, const std::string& why) {
    hasRefused_ = true;
    util::TraceLine line;
    line.file = kSubject;
    line.function = "unknown";
    line.text = name_;
    if (lineNumber > 0) {
        line.text += ":" + std::to_string(lineNumber);
        ++counts_.refusedLines;
    }
    line.text += ": refused: " + why;
    // a flood of bad lines must not fill the trace
    util::traceLimited(std::move(line), "alarm folder");
}

}  // namespace kelp::example
