#pragma once

#include <stdexcept>
#include <string>

namespace kelp::oplog {

/// A log cannot be read or written. The text is one sentence that names the file.
class LogFailure : public std::runtime_error {
  public:
    explicit LogFailure(const std::string& sentence, bool isDamage = false)
        : std::runtime_error(sentence), isDamage_(isDamage) {}
    /// True if the file is not a database or is damaged.
    bool isDamage() const { return isDamage_; }

  private:
    bool isDamage_;
};

}  // namespace kelp::oplog
