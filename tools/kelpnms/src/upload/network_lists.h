#pragma once

#include <optional>

#include "upload/list_options.h"
#include "upload/network_reader.h"
#include "upload/network_task.h"
#include "upload/walk_progress.h"

namespace kelp::nms {

/// The lists that NetworkLists can write.
enum class ListKind { Elements, Ports, Equipment, Links };

/// Writes lists of one kind to standard output: elements, ports, equipment, or links.
class NetworkLists final : public NetworkTask {
  public:
    /// `options` and `progress` are borrowed.
    NetworkLists(ListKind kind, const ListOptions& options, WalkProgress& progress);

    bool run(NmsSession& session) override;
    std::string cutShort() override;

  private:
    using Take = NetworkReader::Take;
    bool read(NetworkReader& reader, const Take& take);
    bool readElements(NetworkReader& reader, const Take& take);
    bool readOfElements(NetworkReader& reader,
                        const std::function<void(const std::string&)>& readOne);
    bool readLinks(NetworkReader& reader, const Take& take);

    const ListKind kind_;
    const ListOptions& options_;
    WalkProgress& progress_;
};

/// Return the name of a list's entries: "elements", "ports" and so on.
std::string contentOf(ListKind kind);

}  // namespace kelp::nms
