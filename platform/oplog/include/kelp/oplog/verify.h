#pragma once

#include <kelp/oplog/chain_head.h>
#include <kelp/util/export.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace kelp::oplog {

/// The result of a check of the chain.
struct KELP_EXPORT Verification {
    std::uint64_t records = 0;
    std::int64_t firstId = 0;           ///< 0 if there are no records
    ChainHead head;                     ///< the last record of the chain
    std::vector<std::string> problems;  ///< one sentence each; only the first 20
    std::uint64_t problemCount = 0;
};

/// Check the whole chain. Changes nothing and locks nothing.
///
/// Detects records that were changed, removed, inserted or moved. This includes the oldest records,
/// because the log records how far retention has removed them, and the last records, because the
/// file notes the head of the chain. `keyFile` is LogSettings::auditKeyFile. With its key, verify()
/// also detects a chain that was computed again without the key.
///
/// Does not detect:
/// - a file that was shortened and its noted head set back, or replaced by an older copy. To detect
/// that, note heads outside the machine and pass them as `known`: each must still be in the chain,
/// unless retention has removed it.
/// - changes after the last head noted outside, by somebody who has the key and write access.
/// - in a log without a key, changes by somebody with write access who computes all later hashes
/// and the head again.
/// - records that a crash lost before they were written.
///
/// Throws std::runtime_error with one sentence if the file or the key cannot be read, or if the key
/// that the log was made with is missing.
KELP_EXPORT Verification verify(const std::filesystem::path& database,
                                const std::vector<ChainHead>& known = {},
                                const std::filesystem::path& keyFile = {});

}  // namespace kelp::oplog
