#pragma once

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
    /// Appends an alarm's entries after a line with the time. A failure is traced, once until it works again.
    void write(const std::string& entries);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace NS_CORBA
