#pragma once

#include <kelp/util/export.h>

#include <cstddef>

namespace kelp::util {

/// Fill `size` octets with unpredictable values from the system's random source. Throws
/// std::runtime_error if the cryptography library cannot start.
KELP_EXPORT void fillRandomly(void* octets, std::size_t size);

/// Compare in a time that does not depend on the content.
KELP_EXPORT bool isEqualInConstantTime(const void* a, const void* b, std::size_t size) noexcept;

}  // namespace kelp::util
