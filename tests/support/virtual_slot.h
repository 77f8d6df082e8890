#pragma once

#include <cstddef>
#include <cstring>

namespace kelp::test {

/// Return the slot of a virtual operation in the primary virtual table of its class, read from the
/// representation of a pointer to member in this platform's C++ ABI. The destructors of a root
/// class occupy slots 0 and 1.
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
    std::ptrdiff_t words[2];
    static_assert(sizeof operation == sizeof words);
    std::memcpy(words, &operation, sizeof words);
    return (words[0] & ~std::ptrdiff_t{1}) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

}  // namespace kelp::test
