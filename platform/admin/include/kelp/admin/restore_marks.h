#pragma once

namespace kelp::admin {

/// Empty files in the state directory by which a restore notes how far it is. At most one exists.
/// While one of the first two exists, the state is incomplete: no host may start with it.
inline constexpr const char* kRestoreMovesAway = "restore.moves-away";  ///< the previous files
inline constexpr const char* kRestoreMovesIn = "restore.moves-in";      ///< the new files
inline constexpr const char* kRestoreKept = "restore.kept";  ///< done; previous files are there

}  // namespace kelp::admin
