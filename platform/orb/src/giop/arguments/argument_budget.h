#pragma once

#include <cstddef>
#include <cstdint>

#include "giop/arguments/argument_check.h"

namespace kelp::orb::giop {

/// The limits of one check and what is left of them, with the first thing that was found wrong. Not
/// thread safe.
class ArgumentBudget {
  public:
    ArgumentBudget(const ArgumentLimits& limits, std::size_t messageOctets)
        : limits_(limits), work_(limits.workBase + limits.workPerOctet * messageOctets) {}

    /// Takes steps of work, doubled for each any around them. False when they are used up.
    bool spend(std::uint64_t steps, std::uint32_t anyDepth) {
        if (steps > work_ >> anyDepth)
            return refuse(ArgumentVerdict::TooMany);
        work_ -= steps << anyDepth;
        return true;
    }

    /// Keeps the first verdict. Always false, for the caller to pass on.
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
