#pragma once

#include <cos/CosNaming.h>
#include <kelp/util/naming_path.h>

#include <cstddef>
#include <string>
#include <vector>

#include "name_tree.h"

namespace kelp::naming {

/// Longer names are invalid. No name in use is nearly as long.
inline constexpr std::size_t kComponentsMax = 100;
inline constexpr std::size_t kNameBytesMax = 8192;

/// The path of a caller's name. Throws NamingContext::InvalidName if the name has no components or
/// is too long.
util::NamingPath pathOf(const CosNaming::Name& name);
/// The same for a stringified name. Also throws if the text is not a stringified name.
util::NamingPath pathOf(const char* stringifiedName);

/// Throw OBJECT_NOT_EXIST: the context or iterator has been destroyed.
[[noreturn]] void throwGone();

CosNaming::Name* nameOf(const util::NamingPath& path);

/// The beginning of a name, stringified without escapes, for a log. The name may have any length.
std::string shortText(const CosNaming::Name& name);

CosNaming::Binding bindingOf(const NameEntry& entry);
CosNaming::BindingList* bindingsOf(const std::vector<NameEntry>& entries);

}  // namespace kelp::naming
