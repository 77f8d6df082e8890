#pragma once

#include <kelp/util/export.h>

#include <stdexcept>
#include <string>

namespace kelp::inventory {

/// The inventory cannot be read or written. The text is one sentence that names the file.
class KELP_EXPORT InventoryFailure : public std::runtime_error {
  public:
    explicit InventoryFailure(const std::string& sentence, bool isLocked = false)
        : std::runtime_error(sentence), isLocked_(isLocked) {}
    /// True if another process or thread was writing for longer than the caller waits. A retry may
    /// succeed.
    bool isLocked() const { return isLocked_; }

  private:
    bool isLocked_;
};

}  // namespace kelp::inventory
