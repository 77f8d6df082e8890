#pragma once

#include <string>

namespace kelp::orb {

/// Enters a code set into the ORB's list that is the native one named `native`, except that a
/// character which the peer's code set cannot hold is sent as a question mark, where `native`
/// raises DATA_CONVERSION. Its name, for the ORB's option nativeCharCodeSet; `native` itself when
/// the ORB does not know that. Callers take turns, before the ORB starts; entering it again is
/// harmless.
std::string enterSubstitutingCodeSet(const std::string& native);

}  // namespace kelp::orb
