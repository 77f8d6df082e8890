#include "counted_texts.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace kelp::test {

namespace {

std::atomic<std::size_t> countedSize{0};  // 0 for none
std::atomic<std::size_t> counted{0};

}  // namespace

CountedTexts::CountedTexts(std::size_t length) {
    counted = 0;
    countedSize = length + 1;
}

CountedTexts::~CountedTexts() {
    countedSize = 0;
}

std::size_t CountedTexts::copies() const {
    return counted;
}

}  // namespace kelp::test

// Never inlined: an optimizing compiler would take malloc and free for mismatched when only one of
// the two operators is inlined.
#define KELP_REPLACED __attribute__((visibility("default"), noinline))

// The ORB's texts are arrays of characters, those of std::string are not.
KELP_REPLACED void* operator new[](std::size_t size) {
    if (size == kelp::test::countedSize)
        ++kelp::test::counted;
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}

// Replaced because operator delete[] is: both must use malloc and free.
KELP_REPLACED void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}

KELP_REPLACED void operator delete[](void* memory) noexcept {
    std::free(memory);
}

KELP_REPLACED void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
