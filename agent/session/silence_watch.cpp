#include "session/silence_watch.h"

#include <kelp/corbabase/trace.h>

#include <new>

namespace NS_KELPCORBA {
namespace {

using kelp::util::MutexLock;

constexpr const char* kSubject = "sessionmgr";

/// Start a thread. Return false when it cannot be created or there is no memory for it.
bool startThread(ACE_Thread_Manager& threads, ACE_THR_FUNC body, void* argument,
                 ACE_thread_t& thread) {
    try {
        return threads.spawn(body, argument, THR_NEW_LWP | THR_DETACHED, &thread) != -1;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

bool SilenceWatch::spawn(EmsSession_IImpl* session, ACE_THR_FUNC body) {
    {
        const MutexLock lock(mutex_);
        sessions_.insert(session);
        session->_add_ref();
        count_ = sessions_.size();
    }
    ACE_thread_t thread = 0;
    if (!startThread(threads_, body, session, thread)) {
        NS_CORBA::tracePoint(kSubject);
        NS_CORBA::TaTrace(
            "[SessionMgr::SpawnWaiting] The thread that waits for the NMS could not be made!");
        leave(session);
        return false;
    }
    session->setWaitingThread(static_cast<std::uint32_t>(thread));
    return true;
}

void SilenceWatch::leave(EmsSession_IImpl* session) {
    {
        const MutexLock lock(mutex_);
        const auto found = sessions_.find(session);
        if (found != sessions_.end())
            sessions_.erase(found);
        count_ = sessions_.size();
    }
    // without the lock: the last reference destroys the session, which takes other leaf locks
    session->_remove_ref();
}

void SilenceWatch::pinAll(std::vector<ServantRef<EmsSession_IImpl>>& pinned) {
    const MutexLock lock(mutex_);
    pinned.reserve(pinned.size() + sessions_.size());
    for (EmsSession_IImpl* session : sessions_)
        pinned.push_back(ServantRef<EmsSession_IImpl>::pin(session));
}

}  // namespace NS_KELPCORBA
