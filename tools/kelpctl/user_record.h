#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace kelp::ctl {

/// One change to an account, as the security log tells of it.
struct AccountChange {
    std::string account;
    std::string what;  ///< in few words, such as "disable"; never a password
};

/// A change that was made, but that the security log does not tell of.
class UnrecordedChange : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Makes the change and appends a record of it to the configured security log: who did it (the
/// operating system's name for the process's real user, else its number), to which account, what,
/// and "ok" or why it failed. Load the configuration first. Throws what `make` throws, after
/// recording it; when that record cannot be written, says so on standard error. Throws
/// UnrecordedChange with the log's reason when the change was made and its record cannot be
/// written.
void recorded(const AccountChange& change, const std::function<void()>& make);

}  // namespace kelp::ctl
