#pragma once

#include <string>

namespace kelp::orb {

/// Add a code set to the ORB's list that is the native one named `native`, with one difference: a
/// character that the peer's code set cannot represent is sent as a question mark, where `native`
/// raises DATA_CONVERSION. Return its name for the ORB's option nativeCharCodeSet, or `native`
/// itself when the ORB does not know that. Call it before the ORB starts, and from one thread at a
/// time. Adding it again has no effect.
std::string enterSubstitutingCodeSet(const std::string& native);

}  // namespace kelp::orb
