#pragma once

#include <map>
#include <set>
#include <string>

#include "history/session_database.h"

namespace NS_KELPCORBA {

/// The names of the parameters of GET /sessions/ended.
std::set<std::string> endedParameters();

/// The filter that the parameters describe. Throws kelp::admin::RequestError for a wrong value.
EndedFilter endedFilterOf(const std::map<std::string, std::string>& parameters);

}  // namespace NS_KELPCORBA
