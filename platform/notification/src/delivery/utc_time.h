#pragma once

#include <kelp/orb/dyn_any.h>

#include <cstdint>
#include <optional>

namespace kelp::notification {

// Times of TimeBase::UtcT, in units of 100 ns since 15 October 1582.

/// The time in a value of type UtcT; none for a value of another type.
std::optional<std::uint64_t> utcOf(DynamicAny::DynAny_ptr value);
std::optional<std::uint64_t> utcOf(const CORBA::Any& value);
std::uint64_t currentUtc();

}  // namespace kelp::notification
