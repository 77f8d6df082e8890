#pragma once

#include <kelp/corbabase/ref_count.h>

#include <string>

#include "adapter/session_source.h"
#include "session/ems_session_impl.h"
#include "util/servant_ref.h"

namespace kelp::test {

using SessionRef = NS_KELPCORBA::ServantRef<NS_KELPCORBA::EmsSession_IImpl>;

/// Make a session of this NMS and user, without a log-in and without a POA tree.
inline SessionRef makeSession(const std::string& hostInfo, const std::string& user) {
    using namespace NS_KELPCORBA;
    using Counted = NS_CORBA::RefCount_OneParameter<EmsSession_IImpl, SessionSource*>;
    return SessionRef::take(
        new Counted(SessionSource::create(hostInfo, user, nmsSession::NmsSession_I::_nil())));
}

/// Make a session that has no source.
inline SessionRef makeSessionWithoutSource() {
    using namespace NS_KELPCORBA;
    using Counted = NS_CORBA::RefCount_OneParameter<EmsSession_IImpl, SessionSource*>;
    return SessionRef::take(new Counted(nullptr));
}

}  // namespace kelp::test
