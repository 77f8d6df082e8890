#pragma once

#include <ace/Thread_Manager.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <cstddef>
#include <set>
#include <vector>

#include "session/ems_session_impl.h"
#include "util/servant_ref.h"

namespace NS_KELPCORBA {

/// The sessions of silent NMS, for each of which a thread waits until its NMS calls or its silent
/// time is over (release strategy 2), and these threads. A session stays registered, and is kept
/// alive, from spawn() to leave(), whether it is listed or not. Any thread may call it.
class SilenceWatch {
  public:
    /// Start `body(session)` on a detached thread, which owns a reference on the session and ends
    /// with leave(). Return false when the thread could not be created.
    bool spawn(EmsSession_IImpl* session, ACE_THR_FUNC body);
    /// End one registration of the session and drop its reference.
    void leave(EmsSession_IImpl* session);
    /// True while any session is registered. Takes no lock.
    bool isAny() const { return count_ != 0; }
    /// Append every registered session, pinned under the lock, once per registration.
    void pinAll(std::vector<ServantRef<EmsSession_IImpl>>& pinned);
    ACE_Thread_Manager& threads() { return threads_; }

  private:
    ACE_Thread_Manager threads_;
    kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "SilenceWatch::mutex_"};
    std::multiset<EmsSession_IImpl*> sessions_ KELP_GUARDED_BY(mutex_);
    /// Size of sessions_. Written under the mutex, read without a lock.
    std::atomic<std::size_t> count_{0};
};

}  // namespace NS_KELPCORBA
