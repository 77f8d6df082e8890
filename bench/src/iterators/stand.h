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

/// A kelpd with a network and a logged-in NMS, and the floor, which has the same lists in memory.
class Stand {
  public:
    /// Start the product, log in, and let the floor upload all elements and the ports of the first
    /// `elementsWithPorts` of them. Throws std::runtime_error and CORBA::Exception.
    Stand(nms::NmsClient& client, const std::filesystem::path& network,
          std::size_t elementsWithPorts);
    /// Log out.
    ~Stand();
    Stand(const Stand&) = delete;
    Stand& operator=(const Stand&) = delete;

    CORBA::ORB_ptr orb() const { return orb_; }
    ListServer product;
    ListServer floor;    ///< lends its parts to the ORB
    ListServer copying;  ///< the same process as the floor; copies its parts
    /// Return the port list of each element.
    const std::vector<ListName>& portLists() const { return portLists_; }
    /// Return the product's resident memory before the first list was requested, and its peak since
    /// then, in KiB.
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
