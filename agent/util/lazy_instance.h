#pragma once

#include <ace/Guard_T.h>
#include <ace/Recursive_Thread_Mutex.h>
#include <ace/Static_Object_Lock.h>

#include <atomic>

namespace NS_KELPCORBA {

/// Holds a process-wide object that is made on first use and destroyed on demand, both under the
/// process's static-object lock; once made, it is handed out without a lock. Whoever destroys it
/// makes sure that nobody uses it any more. Constant-initialised, so it may be used before and
/// after static objects live.
template <class T>
class LazyInstance {
  public:
    /// The object, made by `make` when there is none. Null only when the lock cannot be taken.
    template <class Make>
    T* get(Make make) {
        if (T* made = object_.load(std::memory_order_acquire))
            return made;
        ACE_GUARD_RETURN(ACE_Recursive_Thread_Mutex, guard, *ACE_Static_Object_Lock::instance(),
                         object_.load());
        if (object_.load(std::memory_order_relaxed) == nullptr)
            object_.store(make(), std::memory_order_release);
        return object_.load(std::memory_order_relaxed);
    }

    /// Hands the object, if there is one, to `end`, which deletes it; the next `get` makes a new
    /// one.
    template <class End>
    void destroy(End end) {
        ACE_GUARD(ACE_Recursive_Thread_Mutex, guard, *ACE_Static_Object_Lock::instance());
        if (T* made = object_.exchange(nullptr))
            end(made);
    }

  private:
    std::atomic<T*> object_{nullptr};
};

}  // namespace NS_KELPCORBA
