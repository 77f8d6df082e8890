#pragma once

#include <kelp/util/export.h>

#include <ctime>
#include <string>

namespace NS_CORBA {

/// Format a time in the configured layout: "20240105030405.0", or "05/01/2024 03:04:05" with
/// TimeShowAppearance 1. With TimeZoneRefPoint 0 (UTC) "Z" follows; the fields are printed as they
/// are, whatever their time zone. Empty when the time cannot be printed.
KELP_EXPORT std::string ConfiguredTimeText(const std::tm& fields);

/// Format a moment, in seconds since the epoch: in UTC with TimeZoneRefPoint 0, otherwise in local
/// time. A moment of 0, or one that cannot be converted, counts as now.
KELP_EXPORT std::string ConfiguredTimeText(std::time_t moment);

}  // namespace NS_CORBA
