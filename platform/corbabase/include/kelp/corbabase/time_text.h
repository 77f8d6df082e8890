#pragma once

#include <kelp/util/export.h>

#include <ctime>
#include <string>

namespace NS_CORBA {

/// The time as an NMS reads it, in the configured layout: "20240105030405.0", or "05/01/2024
/// 03:04:05" under appearance 1. Under a UTC reference "Z" follows, whatever zone the fields are
/// in. Empty when it cannot be printed.
KELP_EXPORT std::string ConfiguredTimeText(const std::tm& fields);

/// The same of a moment, seconds since the epoch, in UTC under a UTC reference and in local time
/// otherwise. A moment that has no such form, or is 0, counts as now.
KELP_EXPORT std::string ConfiguredTimeText(std::time_t moment);

}  // namespace NS_CORBA
