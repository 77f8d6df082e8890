#pragma once

#include <string>
#include <string_view>

namespace kelp::inventory {

// Return what is wrong with a value of a naming attribute; empty: nothing.

/// A value has 1 to 1024 characters, no control characters, and no blanks at its ends.
std::string problemOfName(std::string_view value);
/// The same, and the form [/remote_unit=..][/rack=..]/shelf=..[/sub_shelf=..][/slot=..[/sub_slot=..
/// or /remote_sub_slot=..]], or the beginning of such a path that names at least a rack or shelf.
std::string problemOfHolder(std::string_view value);
/// The same, and the form "/name=value[-name=value...]" for each layer.
std::string problemOfCtp(std::string_view value);

/// The standard's word for the kind of holder that the path ends in: "rack", "shelf", "sub_shelf",
/// "slot" or "sub_slot". Empty for any other path.
std::string holderTypeOf(std::string_view path);

}  // namespace kelp::inventory
