#pragma once

#include <cstddef>
#include <functional>

#include "common/ems.h"

namespace kelp::bench {

/// NMS that log in and out again, each from an address of its own. Nothing listens there: it is for
/// a product that does not ping.
class Churn {
  public:
    explicit Churn(const Ems& ems) : ems_(ems) {}

    /// So many NMS after each other. Returns when the EMS has ended the last one's session.
    void logInAndOut(std::size_t times);
    /// The same at least once and until told otherwise. How many it were.
    std::size_t logInAndOutWhile(const std::function<bool()>& more);

  private:
    std::string nextAddress();

    const Ems& ems_;
    unsigned port_ = 1024;
};

}  // namespace kelp::bench
