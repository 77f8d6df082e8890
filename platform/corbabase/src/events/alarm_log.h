#pragma once

#include <cstddef>
#include <ctime>
#include <filesystem>
#include <memory>
#include <string>

namespace NS_CORBA {

/// The rotating log file of alarms as text. Used by one thread.
class AlarmLog {
  public:
    /// Throws std::exception when the file cannot be opened.
    explicit AlarmLog(const std::filesystem::path& file);
    ~AlarmLog();
    /// Append an alarm's entries after a line with the time when the alarm was accepted. A failed
    /// write is traced once until a write succeeds, and the alarm counts as missing.
    void write(std::time_t accepted, const std::string& entries);
    /// Count alarms that could not be logged. The log states their number before the next entry.
    void missing(std::size_t alarms);
    /// Flush to the file, including the number of missing alarms.
    void flush();

  private:
    void append(const std::string& text);
    void appendMissing();
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_CORBA
