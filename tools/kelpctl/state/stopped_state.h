#pragma once

#include <kelp/admin/state_claim.h>
#include <kelp/util/descriptor.h>
#include <sys/types.h>

#include <filesystem>
#include <optional>

#include "state/layout.h"

namespace kelp::state {

/// Keeps hosts away from the state as long as this object exists. Holds the locks that a host
/// takes, so no host can start meanwhile.
class StoppedState {
  public:
    /// Throws std::runtime_error with one sentence when a host or another program uses the state.
    explicit StoppedState(const StateLayout& layout);

  private:
    std::optional<admin::StateClaim> claim_;
    util::Descriptor changeLog_;
};

/// A process that has this database open in write-ahead mode, or is writing it; none if there is
/// none, or no such file. Do not call it while this process itself has the database open: its locks
/// would be lost.
std::optional<pid_t> processUsing(const std::filesystem::path& database);

}  // namespace kelp::state
