#pragma once

#include <cstddef>
#include <cstring>

namespace kelp::test {

/// The slot of a virtual operation in the primary table of its class, out of the representation
/// that pointers to members have in the C++ ABI of this platform. The destructors of a root class
/// are slots 0 and 1.
template <class Operation>
std::ptrdiff_t slotOf(Operation operation) {
    std::ptrdiff_t words[2];
    static_assert(sizeof operation == sizeof words);
    std::memcpy(words, &operation, sizeof words);
    return (words[0] & ~std::ptrdiff_t{1}) / static_cast<std::ptrdiff_t>(sizeof(void*));
}

}  // namespace kelp::test
