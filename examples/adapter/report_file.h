#pragma once

#include <kelp/alarms/intake.h>

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

#include "counts.h"
#include "line_reader.h"

namespace kelp::example {

/// Submits the reports of one file, in groups.
class ReportFile {
  public:
    enum class Fate {
        Done,     ///< every report is durable
        Refused,  ///< something in it is not valid; the other reports are durable
        Later     ///< submit it again: reports cannot be accepted now, or the adapter stops
    };

    /// The arguments are borrowed. `isStopping` ends the submission before the next group.
    ReportFile(const alarms::Intake& intake, const std::string& ems, Counts& counts,
               const std::atomic<bool>& isStopping)
        : intake_(intake), ems_(ems), counts_(counts), isStopping_(isStopping) {}

    /// Submit the file's reports. A file that is submitted again, after `Later` or after a crash,
    /// has the same idempotency keys, so nothing is reported twice.
    Fate submit(const std::filesystem::path& file);

  private:
    void add(const Line& line);
    bool flush();
    bool flushEach();
    void refuse(std::size_t lineNumber, const std::string& why);

    const alarms::Intake& intake_;
    const std::string& ems_;
    Counts& counts_;
    const std::atomic<bool>& isStopping_;

    std::string name_;
    std::string key_;  ///< of the file
    std::vector<alarms::Alarm> reports_;
    std::vector<std::size_t> lineNumbers_;  ///< of the reports
    bool hasRefused_ = false;
};

}  // namespace kelp::example
