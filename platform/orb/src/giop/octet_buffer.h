#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "giop/input_budget.h"

namespace kelp::orb::giop {

/// Octets that grow at their end, within a budget. Large ones have pages of their own, which go
/// back to the system as soon as the buffer is emptied or shrinks. Not thread safe.
class OctetBuffer {
  public:
    explicit OctetBuffer(InputBudget& budget) : budget_(&budget) {}
    ~OctetBuffer() { release(); }
    OctetBuffer(OctetBuffer&& other) noexcept;
    OctetBuffer& operator=(OctetBuffer&& other) noexcept;

    std::span<std::uint8_t> octets() { return {data_, size_}; }
    std::span<const std::uint8_t> octets() const { return {data_, size_}; }
    std::size_t size() const { return size_; }
    std::size_t capacity() const { return capacity_; }

    /// Make room for `more` octets. It grows ahead of need, but not beyond `useful` octets in all.
    /// False when the budget or the system has not enough; nothing changes.
    bool reserve(std::size_t more, std::size_t useful = std::numeric_limits<std::size_t>::max());
    /// False as reserve().
    bool append(std::span<const std::uint8_t> octets);
    bool appendZeros(std::size_t count);
    /// The reserved part, to be written by the caller and then taken over with grew().
    std::span<std::uint8_t> room() { return {data_ + size_, capacity_ - size_}; }
    void grew(std::size_t octets) { size_ += octets; }

    /// Drops the first octets. A large buffer that becomes mostly empty is made small again.
    void dropFront(std::size_t octets);
    void release();

  private:
    bool resize(std::size_t capacity);
    bool isMapped() const;

    InputBudget* budget_;
    std::uint8_t* data_ = nullptr;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
};

}  // namespace kelp::orb::giop
