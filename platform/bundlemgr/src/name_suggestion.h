#pragma once

#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// The known name that `name` is most likely a misspelling of; empty when none is near.
std::string nearestName(const std::string& name, const std::vector<std::string>& known);

}  // namespace NS_BUNDLEMGR1
