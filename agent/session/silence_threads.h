#pragma once

#include <ace/OS_NS_Thread.h>

namespace NS_KELPCORBA {

/// Threads that wait for an NMS to call, under release strategy 2. A session has at most one. The
/// argument is an EmsSession_IImpl*. The thread owns a reference on it and is registered for it in
/// SessionMgr until it ends.

/// Without pings: end the session when its NMS has not called for the silent time.
ACE_THR_FUNC_RETURN theWaiting(void* session);

/// With pings: end the session when its NMS has neither answered a ping nor called for the silent
/// time.
ACE_THR_FUNC_RETURN SilentWaitingThread(void* session);

}  // namespace NS_KELPCORBA
