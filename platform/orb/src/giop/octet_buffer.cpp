#include "giop/octet_buffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace kelp::orb::giop {

namespace {

constexpr std::size_t kSmallest = 4096;
/// A buffer of this size or more has separate pages. A smaller one uses the allocator.
constexpr std::size_t kMappedFrom = std::size_t{128} * 1024;

bool isMappedSize(std::size_t capacity) {
    return capacity >= kMappedFrom;
}

std::uint8_t* allocate(std::size_t capacity) {
    if (!isMappedSize(capacity))
        return static_cast<std::uint8_t*>(std::malloc(capacity));
    void* const pages =
        ::mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return pages == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(pages);
}

void deallocate(std::uint8_t* data, std::size_t capacity) {
    if (isMappedSize(capacity))
        ::munmap(data, capacity);
    else
        std::free(data);
}

}  // namespace

OctetBuffer::OctetBuffer(OctetBuffer&& other) noexcept
    : budget_(other.budget_),
      data_(std::exchange(other.data_, nullptr)),
      size_(std::exchange(other.size_, 0)),
      capacity_(std::exchange(other.capacity_, 0)) {}

OctetBuffer& OctetBuffer::operator=(OctetBuffer&& other) noexcept {
    std::swap(budget_, other.budget_);
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(capacity_, other.capacity_);
    return *this;
}

bool OctetBuffer::isMapped() const {
    return isMappedSize(capacity_);
}

bool OctetBuffer::reserve(std::size_t more, std::size_t useful) {
    if (capacity_ - size_ >= more)
        return true;
    const std::size_t ahead = std::min(2 * capacity_, useful);
    const std::size_t needed = std::max(size_ + more, ahead);
    return resize((needed + kSmallest - 1) / kSmallest * kSmallest);
}

bool OctetBuffer::resize(std::size_t capacity) {
    if (capacity > capacity_ && !budget_->take(capacity - capacity_))
        return false;
    std::uint8_t* moved = nullptr;
    if (isMapped() && isMappedSize(capacity)) {
        void* const pages = ::mremap(data_, capacity_, capacity, MREMAP_MAYMOVE);
        moved = pages == MAP_FAILED ? nullptr : static_cast<std::uint8_t*>(pages);
    } else if ((moved = allocate(capacity)) != nullptr) {
        if (size_ != 0)
            std::memcpy(moved, data_, size_);
        if (data_ != nullptr)
            deallocate(data_, capacity_);
    }
    if (moved == nullptr) {
        if (capacity > capacity_)
            budget_->giveBack(capacity - capacity_);
        return false;
    }
    if (capacity < capacity_)
        budget_->giveBack(capacity_ - capacity);
    data_ = moved;
    capacity_ = capacity;
    return true;
}

bool OctetBuffer::append(std::span<const std::uint8_t> octets) {
    if (octets.empty())
        return true;
    if (!reserve(octets.size()))
        return false;
    std::memcpy(data_ + size_, octets.data(), octets.size());
    size_ += octets.size();
    return true;
}

bool OctetBuffer::appendZeros(std::size_t count) {
    if (count == 0)
        return true;
    if (!reserve(count))
        return false;
    std::memset(data_ + size_, 0, count);
    size_ += count;
    return true;
}

void OctetBuffer::dropFront(std::size_t octets) {
    if (octets == 0)
        return;
    size_ -= octets;
    if (size_ == 0) {
        release();
        return;
    }
    std::memmove(data_, data_ + octets, size_);
    if (isMapped() && size_ < capacity_ / 4)
        (void)resize(std::max(kSmallest, 2 * size_));
}

void OctetBuffer::release() {
    if (data_ == nullptr)
        return;
    deallocate(data_, capacity_);
    budget_->giveBack(capacity_);
    data_ = nullptr;
    size_ = 0;
    capacity_ = 0;
}

}  // namespace kelp::orb::giop
