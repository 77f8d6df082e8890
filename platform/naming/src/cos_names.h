#pragma once

#include <cos/CosNaming.h>
#include <kelp/util/naming_path.h>

#include <cstddef>
#include <string>
#include <vector>

#include "name_tree.h"

namespace kelp::naming {

/// Names beyond these bounds are invalid. No name in use comes near them.
inline constexpr std::size_t kComponentsMax = 100;
inline constexpr std::size_t kNameBytesMax = 8192;

/// A caller's name. Throws NamingContext::InvalidName for one without components or beyond the
/// bounds.
util::NamingPath pathOf(const CosNaming::Name& name);
/// A caller's stringified name; throws likewise, also for text that is none.
util::NamingPath pathOf(const char* stringifiedName);

CosNaming::Name* nameOf(const util::NamingPath& path);

/// The first characters of a name of any length, stringified without escapes, for a log.
std::string shortText(const CosNaming::Name& name);

CosNaming::Binding bindingOf(const NameEntry& entry);
CosNaming::BindingList* bindingsOf(const std::vector<NameEntry>& entries);

}  // namespace kelp::naming
