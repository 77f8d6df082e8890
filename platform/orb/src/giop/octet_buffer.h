#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>

#include "giop/input_budget.h"

namespace kelp::orb::giop {

/// A buffer of octets that grows at its end, within a budget. A buffer of 128 KiB or more uses
/// memory pages that return to the system as soon as it is emptied or shrinks. Not thread safe.
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

    /// Make room for `more` octets. The buffer grows ahead of need, but not beyond `useful` octets
    /// in total. Return false, and change nothing, when the budget or the system does not have
    /// enough memory.
    bool reserve(std::size_t more, std::size_t useful = std::numeric_limits<std::size_t>::max());
    /// Return false as reserve() does.
    bool append(std::span<const std::uint8_t> octets);
    bool appendZeros(std::size_t count);
    /// Return the reserved part. The caller writes to it and then calls grew().
    std::span<std::uint8_t> room() { return {data_ + size_, capacity_ - size_}; }
    void grew(std::size_t octets) { size_ += octets; }

    /// Drop the first octets. A large buffer that is less than a quarter full afterwards shrinks.
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
