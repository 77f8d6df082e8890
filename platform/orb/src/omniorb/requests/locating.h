#pragma once

#include <string_view>

namespace kelp::orb {

/// Make the ORB answer LocateRequests by whether the object exists. Without this it answers "here"
/// for every object id below a POA with a servant manager. A caller could then find out by guessing
/// which POAs, and so which sessions, exist. Call it once for each ORB, after ORB_init and before a
/// request can arrive.
void answerLocateRequestsTruly();

/// Return whether the key may lead to a POA. A transient POA may be found only by a key from its
/// own lifetime, which contains the POA's 8 octets. The ORB accepts a key without them as well: it
/// reads the object id in the wrong place, and answers a key that is too short for that over and
/// over without end.
bool isOfThisLife(std::string_view key);

}  // namespace kelp::orb
