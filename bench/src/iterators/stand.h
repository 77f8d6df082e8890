#pragma once

#include <kelp/nms/client.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/ems.h"
#include "common/nms_farm.h"
#include "common/product.h"
#include "iterators/lists.h"
#include "notify/talker.h"

namespace kelp::bench {

/// A kelpd over a network with an NMS logged in there, and beside it the floor, which has the same
/// lists in memory.
class Stand {
  public:
    /// Starts the product, logs in, and lets the floor upload all elements and the ports of the
    /// first of them. Throws std::runtime_error, CORBA::Exception.
    Stand(nms::NmsClient& client, const std::filesystem::path& network,
          std::size_t elementsWithPorts);
    /// Logs out.
    ~Stand();
    Stand(const Stand&) = delete;
    Stand& operator=(const Stand&) = delete;

    CORBA::ORB_ptr orb() const { return orb_; }
    ListServer product;
    ListServer floor;    ///< its parts lent to the ORB
    ListServer copying;  ///< the same process, its parts copied
    /// The port list of each element.
    const std::vector<ListName>& portLists() const { return portLists_; }
    /// Resident memory of the product before the first list was asked for, and its peak since, in
    /// KiB.
    double residentBefore() const { return residentBefore_; }
    double residentPeak() const;

  private:
    void startFloor(std::size_t elementsWithPorts);

    CORBA::ORB_ptr orb_;
    const NmsFarm nms_;
    const Product process_;
    emsSession::EmsSession_I_var session_;
    double residentBefore_ = 0;
    std::optional<Talker> floorProcess_;
    std::vector<ListName> portLists_;
};

}  // namespace kelp::bench
