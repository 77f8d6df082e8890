#include "failing_memory.h"

#include <cstdint>
#include <cstdlib>
#include <new>

// the program's first and last address, defined by the linker
extern "C" const char __executable_start;
extern "C" const char etext;

namespace kelp::test {

namespace {

thread_local int left = 0;  // allocations until the failure; 0 for no failure
thread_local bool happened = false;

bool isOfThisProgram(const void* caller) {
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    return address >= reinterpret_cast<std::uintptr_t>(&__executable_start) &&
           address < reinterpret_cast<std::uintptr_t>(&etext);
}

bool fails(const void* caller) {
    if (left == 0 || !isOfThisProgram(caller) || --left > 0)
        return false;
    happened = true;
    return true;
}

}  // namespace

FailingMemory::FailingMemory(int nth) {
    left = nth;
    happened = false;
}

FailingMemory::~FailingMemory() {
    left = 0;
}

bool FailingMemory::hasHappened() const {
    return happened;
}

}  // namespace kelp::test

__attribute__((visibility("default"))) void* operator new(std::size_t size) {
    if (kelp::test::fails(__builtin_return_address(0)))
        throw std::bad_alloc();
    if (void* memory = std::malloc(size == 0 ? 1 : size))
        return memory;
    throw std::bad_alloc();
}

// Never made to fail. It is replaced because operator delete is: both must use malloc and free.
__attribute__((visibility("default"))) void* operator new(std::size_t size,
                                                          const std::nothrow_t&) noexcept {
    return std::malloc(size == 0 ? 1 : size);
}

__attribute__((visibility("default"))) void operator delete(void* memory) noexcept {
    std::free(memory);
}

__attribute__((visibility("default"))) void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
