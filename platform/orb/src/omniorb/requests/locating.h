#pragma once

#include <string_view>

namespace kelp::orb {

/// Makes the ORB answer LocateRequests by what is there. By itself it says "here" for every object
/// id below a POA with a servant manager, so that guessing tells which POAs, and so which sessions,
/// there are. Once for each ORB, after ORB_init and before a request can arrive.
void answerLocateRequestsTruly();

/// Whether the key may lead to a POA: a transient POA is found by a key of its own life only, with
/// the POA's 8 octets in it. The ORB takes a key without them as well: it reads the object id in
/// the wrong place, and answers a key that is too short for that again and again without end.
bool isOfThisLife(std::string_view key);

}  // namespace kelp::orb
