#pragma once

#include <kelp/alarms/alarm.h>
#include <kelp/util/export.h>

#include <string>
#include <vector>

namespace kelp::alarms {

// The names of the enumerators 0, 1, 2 ... in the standard ("PS_MAJOR"), as JSON has them.
KELP_EXPORT const std::vector<std::string>& objectTypeNames();
KELP_EXPORT const std::vector<std::string>& severityNames();
KELP_EXPORT const std::vector<std::string>& serviceAffectingNames();
KELP_EXPORT const std::vector<std::string>& acknowledgementNames();

// The texts that the standard allows for fields that are no enumerations.
KELP_EXPORT const std::vector<std::string>& eventTypeNames();
KELP_EXPORT const std::vector<std::string>& backedUpStatusNames();
KELP_EXPORT const std::vector<std::string>& trendNames();

}  // namespace kelp::alarms
