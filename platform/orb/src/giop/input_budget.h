#pragma once

#include <atomic>
#include <cstddef>

namespace kelp::orb::giop {

/// The memory that all connections together may use for input that is not complete yet, or complete
/// and not yet read by the ORB. Callable from any thread.
class InputBudget {
  public:
    explicit InputBudget(std::size_t octetsMax) : octetsMax_(octetsMax) {}
    InputBudget(const InputBudget&) = delete;
    InputBudget& operator=(const InputBudget&) = delete;

    /// False, with nothing taken, when less is left.
    bool take(std::size_t octets);
    void giveBack(std::size_t octets) { used_ -= octets; }
    std::size_t used() const { return used_; }
    /// For a new ORB; what is in use stays counted.
    void setMax(std::size_t octetsMax) { octetsMax_ = octetsMax; }

  private:
    std::atomic<std::size_t> octetsMax_;
    std::atomic<std::size_t> used_{0};
};

}  // namespace kelp::orb::giop
