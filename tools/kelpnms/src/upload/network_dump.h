#pragma once

#include <kelp/util/mutex.h>

#include <memory>
#include <vector>

#include "text/output.h"
#include "upload/dump_file.h"
#include "upload/list_options.h"
#include "upload/network_reader.h"
#include "upload/network_task.h"
#include "upload/walk_progress.h"

namespace kelp::nms {

/// Writes the whole network as JSON lines: the EMS, its subnetworks and its elements, then the
/// equipment and ports of each element, then the links. A dump with --from begins with the
/// equipment and ports of that element and leaves out everything before them.
class NetworkDump final : public NetworkTask {
  public:
    /// `options` and `progress` are borrowed.
    NetworkDump(const DumpOptions& options, WalkProgress& progress)
        : options_(options), progress_(progress) {}

    bool run(NmsSession& session) override;
    std::string cutShort() override;

  private:
    std::shared_ptr<DumpFile> open();
    std::vector<std::string> beginning(NetworkReader& reader, const NetworkReader::Take& take);

    const DumpOptions& options_;
    WalkProgress& progress_;
    util::Mutex mutex_{util::LockRank::NmsView, "NetworkDump::mutex_"};
    /// Null for standard output.
    std::shared_ptr<DumpFile> file_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::nms
