#pragma once

#include <string>
#include <string_view>

namespace kelp::inventory {

// What is wrong with a value of a naming attribute, in a few words; empty: nothing.

/// Values have 1 to 1024 characters, no control characters and no blanks at their ends.
std::string problemOfName(std::string_view value);
/// Besides, [/remote_unit=..][/rack=..]/shelf=..[/sub_shelf=..][/slot=..[/sub_slot=.. or
/// /remote_sub_slot=..]], or the beginning of such a path.
std::string problemOfHolder(std::string_view value);
/// Besides, "/name=value[-name=value...]" for each layer.
std::string problemOfCtp(std::string_view value);

/// The standard's word for the kind of holder that such a path names: "rack", "shelf", "sub_shelf",
/// "slot", "sub_slot"; empty for a path to none of them.
std::string holderTypeOf(std::string_view path);

}  // namespace kelp::inventory
