#pragma once

#include <cstddef>
#include <functional>

#include "common/ems.h"

namespace kelp::bench {

/// NMSs that log in and out again, each from a separate address. Nothing listens at these
/// addresses, so use it only with a product that does not ping.
class Churn {
  public:
    explicit Churn(const Ems& ems) : ems_(ems) {}

    /// Log in and out `times` NMSs one after the other. Returns when the EMS has ended the last
    /// session.
    void logInAndOut(std::size_t times);
    /// Log NMSs in and out as long as `more` returns true, at least once. Returns the number of
    /// log-ins.
    std::size_t logInAndOutWhile(const std::function<bool()>& more);

  private:
    std::string nextAddress();

    const Ems& ems_;
    unsigned port_ = 1024;
};

}  // namespace kelp::bench
