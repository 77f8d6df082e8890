#pragma once

#include <cstddef>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>

namespace NS_CORBA {

/// The rotating file of alarms in words. For one thread.
class AlarmLog {
  public:
    /// Throws std::exception when the file cannot be opened.
    explicit AlarmLog(const std::filesystem::path& file);
    ~AlarmLog();
    /// Appends an alarm's entries after a line with the time when it was taken in. A failure is
    /// traced, once until it works again; the alarm is then missing.
    void write(std::time_t taken, const std::string& entries);
    /// So many alarms are missing. The log says how many before the next one that it has.
    void missing(std::size_t alarms);
    /// What was written reaches the file; the alarms that are missing as well.
    void flush();

  private:
    void append(const std::string& text);
    void appendMissing();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_CORBA
