#pragma once

#include <kelp/util/naming_path.h>

#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// What is wrong with [naming] aliases, one sentence each. `standard` is the session factory's own
/// path, which no alias may repeat, extend or end in.
std::vector<std::string> problemsOfAliases(const std::vector<std::string>& aliases,
                                           const kelp::util::NamingPath& standard);

/// What is wrong with [naming] ior_file; empty: nothing. An empty text names no file, which is
/// right.
std::string problemOfIorFile(const std::string& file);

}  // namespace NS_BUNDLEMGR1
