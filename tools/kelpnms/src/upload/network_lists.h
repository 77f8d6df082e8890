#pragma once

#include <optional>

#include "app/options.h"
#include "upload/network_reader.h"
#include "upload/network_task.h"
#include "upload/record_writer.h"
#include "upload/walk_progress.h"

namespace kelp::nms {

/// Writes lists of one kind to standard output: elements, ports, equipment, or links.
class NetworkLists final : public NetworkTask {
  public:
    /// `options` and `progress` are borrowed.
    NetworkLists(Command command, const ListOptions& options, WalkProgress& progress);

    bool run(NmsSession& session) override;
    std::string cutShort() override;

  private:
    using Take = NetworkReader::Take;
    bool read(NetworkReader& reader, const Take& take);
    bool readElements(NetworkReader& reader, const Take& take);
    bool readOfElements(NetworkReader& reader,
                        const std::function<void(const std::string&)>& readOne);
    bool readLinks(NetworkReader& reader, const Take& take);

    const Command command_;
    const ListOptions& options_;
    WalkProgress& progress_;
};

/// Return what the command lists: "elements", "ports" and so on.
std::string contentOf(Command command);

}  // namespace kelp::nms
