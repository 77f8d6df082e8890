#pragma once

namespace kelp::nms {

/// The exit codes of kelpnms, documented in its help.
enum ExitCode : int {
    kDone = 0,
    kInternalError = 1,
    kUsageError = 2,
    kNotReachable = 3,
    kLoginRefused = 4,
    kCallFailed = 5,
    kWatchCutShort = 6,
    kNoSuchManager = 7,
    kIncomplete = 8,
    kCannotWrite = 9,
    kNotAcknowledged = 10,
};

}  // namespace kelp::nms
