#pragma once

#include <kelp/util/export.h>

#include <cstddef>

namespace kelp::util {

/// Fills `size` octets that nobody can predict, from the system's own source of randomness. Throws
/// std::runtime_error when the cryptography library cannot start.
KELP_EXPORT void fillRandomly(void* octets, std::size_t size);

/// Compares without telling by the time it takes how far both agree.
KELP_EXPORT bool isEqualInConstantTime(const void* a, const void* b, std::size_t size) noexcept;

}  // namespace kelp::util
