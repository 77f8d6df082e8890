#pragma once

#include <kelp/orb/dyn_any.h>

#include <cstdint>
#include <optional>

namespace kelp::notification {

// Times of TimeBase::UtcT: 100 ns since 15 October 1582.

/// The time in a value of that type; none for one of another type.
std::optional<std::uint64_t> utcOf(DynamicAny::DynAny_ptr value);
std::optional<std::uint64_t> utcOf(const CORBA::Any& value);
std::uint64_t currentUtc();

}  // namespace kelp::notification
