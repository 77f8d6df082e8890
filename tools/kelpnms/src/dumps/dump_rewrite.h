#pragma once

#include <filesystem>
#include <stdexcept>

#include "dumps/pending_changes.h"

namespace kelp::nms {

/// A dump file is missing, or does not have the form of a dump. One sentence.
class NotADump : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// Replace a dump file by one with the changes. The new file is written next to it (FILE.new), is
/// on the disk before it gets the name, and is removed when that fails. Created objects follow the
/// others of their kind. Memory is needed for one line and the changes. Throws NotADump, or
/// CannotWrite.
void rewriteDump(const std::filesystem::path& file, const PendingChanges& changes);

}  // namespace kelp::nms
