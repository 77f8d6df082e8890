#pragma once

#include <kelp/users/user_database.h>
#include <kelp/util/export.h>
#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace kelp::users {

/// Notices changes that other processes make to the user database, also when the file is removed,
/// restored or replaced. A problem that persists for 3 checks is traced once. Used by one thread.
class KELP_EXPORT UserWatch {
  public:
    using Found = std::function<void(const std::vector<UserAccount>&)>;

    /// `found` is called with all accounts at the first check and after each change.
    explicit UserWatch(Found found) : found_(std::move(found)) {}

    /// Check for changes. With `again`, `found` is called even if nothing has changed. False when
    /// the database cannot be read now.
    bool look(const std::filesystem::path& file, bool again);

  private:
    struct Identity {
        ::dev_t device = 0;
        ::ino_t number = 0;
        friend bool operator==(const Identity&, const Identity&) = default;
    };
    static Identity identityOf(const std::filesystem::path& file);
    void open(const std::filesystem::path& file);
    void failed(const std::string& why);
    void recovered();

    Found found_;
    std::unique_ptr<UserDatabase> database_;
    Identity identity_;
    std::optional<std::int64_t> version_;  ///< data version of the accounts reported last
    int failures_ = 0;                     ///< failed checks in a row
    std::string traced_;
};

}  // namespace kelp::users
