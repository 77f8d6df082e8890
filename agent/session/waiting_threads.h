#pragma once

#include <ace/OS_NS_Thread.h>

namespace NS_KELPCORBA {

/// Threads that wait for an NMS to call, one a session, under release strategy 2. The argument is
/// an EmsSession_IImpl* on which the thread owns a reference and as which it is known to SessionMgr
/// until it ends.

/// Without pings: ends a session whose NMS has been silent for the silent time.
ACE_THR_FUNC_RETURN theWaiting(void* session);

/// With pings: ends a session whose NMS neither answers a ping nor calls for the silent time.
ACE_THR_FUNC_RETURN SilentWaitingThread(void* session);

}  // namespace NS_KELPCORBA
