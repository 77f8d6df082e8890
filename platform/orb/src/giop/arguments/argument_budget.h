#pragma once

#include <cstddef>
#include <cstdint>

#include "giop/arguments/argument_check.h"

namespace kelp::orb::giop {

/// The limits of one check, what is left of them, and the first problem found. Not thread safe.
class ArgumentBudget {
  public:
    ArgumentBudget(const ArgumentLimits& limits, std::size_t messageOctets)
        : limits_(limits), work_(limits.workBase + limits.workPerOctet * messageOctets) {}

    /// Take steps of work, doubled for each any around them. Return false when too few are left.
    bool spend(std::uint64_t steps, std::uint32_t anyDepth) {
        if (steps > work_ >> anyDepth)
            return refuse(ArgumentVerdict::TooMany);
        work_ -= steps << anyDepth;
        return true;
    }

    /// Keep the first verdict. Return false always, for the caller to pass on.
    bool refuse(ArgumentVerdict verdict) {
        if (verdict_ == ArgumentVerdict::Fine)
            verdict_ = verdict;
        return false;
    }

    const ArgumentLimits& limits() const { return limits_; }
    ArgumentVerdict verdict() const { return verdict_; }

  private:
    const ArgumentLimits& limits_;
    std::uint64_t work_;
    ArgumentVerdict verdict_ = ArgumentVerdict::Fine;
};

}  // namespace kelp::orb::giop
