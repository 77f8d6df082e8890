#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace kelp::ctl {

/// One change to an account, as the security log records it.
struct AccountChange {
    std::string account;
    std::string what;  ///< a short description, such as "disable"; never a password
};

/// A change was made, but it could not be recorded in the security log.
class UnrecordedChange : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Make the change and append a record of it to the configured security log: who made it (the
/// operating system's name for the process's real user, otherwise its number), to which account,
/// what, and "ok" or why it failed. Load the configuration first. Throws what `make` throws, after
/// recording it; if that record cannot be written, a message on standard error says so. Throws
/// UnrecordedChange with the log's reason when the change was made but its record could not be
/// written.
void recorded(const AccountChange& change, const std::function<void()>& make);

}  // namespace kelp::ctl
