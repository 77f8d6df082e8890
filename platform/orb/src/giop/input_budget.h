#pragma once

#include <atomic>
#include <cstddef>

namespace kelp::orb::giop {

/// A budget for the memory that all connections together use for input: messages that are
/// incomplete, or that the ORB has not read yet. Callable from any thread.
class InputBudget {
  public:
    explicit InputBudget(std::size_t octetsMax) : octetsMax_(octetsMax) {}
    InputBudget(const InputBudget&) = delete;
    InputBudget& operator=(const InputBudget&) = delete;

    /// Take octets from the budget. Return false, and take nothing, when fewer are left.
    bool take(std::size_t octets);
    void giveBack(std::size_t octets) { used_ -= octets; }
    std::size_t used() const { return used_; }
    /// Set the limit for a new ORB. Memory in use stays counted.
    void setMax(std::size_t octetsMax) { octetsMax_ = octetsMax; }

  private:
    std::atomic<std::size_t> octetsMax_;
    std::atomic<std::size_t> used_{0};
};

}  // namespace kelp::orb::giop
