#pragma once

#include <string>

namespace NS_KELPCORBA {

class EmsSession_IImpl;
template <class S>
class ServantRef;

/// End a session for the operator: notify its NMS, waiting a second at most, destroy its objects
/// and log its user out. Return false, with no effect, when the session is ending already. `by`
/// says who ended it. Any thread may call it.
bool endForOperator(const ServantRef<EmsSession_IImpl>& session, const std::string& by);

}  // namespace NS_KELPCORBA
