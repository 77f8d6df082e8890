#pragma once

#include <kelp/util/export.h>

#include <stdexcept>
#include <string>

namespace kelp::changelog {

/// The log cannot be opened, read or written. The text is one sentence that names the file.
class KELP_EXPORT LogFailure : public std::runtime_error {
  public:
    enum class Reason {
        Other,
        Full,     ///< no space on the disk
        Damaged,  ///< the file is not a log, or some of it is not as it was written
        Held,     ///< another process, or another part of this one, has the log open
    };

    explicit LogFailure(const std::string& sentence, Reason reason = Reason::Other)
        : std::runtime_error(sentence), reason_(reason) {}
    ~LogFailure() override;
    LogFailure(const LogFailure&) = default;
    LogFailure& operator=(const LogFailure&) = default;

    bool isFull() const { return reason_ == Reason::Full; }
    bool isDamaged() const { return reason_ == Reason::Damaged; }
    bool isHeld() const { return reason_ == Reason::Held; }

  private:
    Reason reason_;
};

}  // namespace kelp::changelog
