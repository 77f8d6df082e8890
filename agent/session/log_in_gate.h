#pragma once

#include <kelp/util/mutex.h>

#include <optional>
#include <string>

#include "history/session_record.h"

namespace NS_KELPCORBA {

/// Whether NMS may log in. The operator closes it to drain the host. Any thread may call it.
class LogInGate {
  public:
    /// Why, by whom and since when it is closed.
    struct Closing {
        std::string reason;
        std::string by;
        UtcMs since{};
    };

    static LogInGate& instance();

    /// Close the gate. Return false, and change nothing, when it is closed already.
    bool close(const Closing& closing) KELP_EXCLUDES(mutex_);
    /// Open it. Return false when it was open.
    bool open() KELP_EXCLUDES(mutex_);
    std::optional<Closing> closing() const KELP_EXCLUDES(mutex_);
    /// What the refusal of a log-in says. Empty while the gate is open.
    std::optional<std::string> refusal() const KELP_EXCLUDES(mutex_);

  private:
    mutable kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "LogInGate::mutex_"};
    std::optional<Closing> closing_ KELP_GUARDED_BY(mutex_);
};

}  // namespace NS_KELPCORBA
