#include <kelp/util/random_octets.h>
#include <sodium.h>

#include <stdexcept>

namespace kelp::util {

void fillRandomly(void* octets, std::size_t size) {
    static const bool started = ::sodium_init() >= 0;
    if (!started)
        throw std::runtime_error("the cryptography library cannot start");
    ::randombytes_buf(octets, size);
}

bool isEqualInConstantTime(const void* a, const void* b, std::size_t size) noexcept {
    return ::sodium_memcmp(a, b, size) == 0;
}

}  // namespace kelp::util
