#pragma once

#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// The known name that is most similar to `name`; empty if none is similar enough.
std::string nearestName(const std::string& name, const std::vector<std::string>& known);

}  // namespace NS_BUNDLEMGR1
