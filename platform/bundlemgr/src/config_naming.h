#pragma once

#include <kelp/util/naming_path.h>

#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// The problems of [naming] aliases, one sentence each. `standard` is the path of the session
/// factory. An alias must not repeat it, extend it or end in it.
std::vector<std::string> problemsOfAliases(const std::vector<std::string>& aliases,
                                           const kelp::util::NamingPath& standard);

/// The problem of [naming] ior_file; empty: none. An empty text is valid and means no file.
std::string problemOfIorFile(const std::string& file);

}  // namespace NS_BUNDLEMGR1
