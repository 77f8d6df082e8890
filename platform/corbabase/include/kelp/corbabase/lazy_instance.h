#pragma once

#include <ace/Guard_T.h>
#include <ace/Recursive_Thread_Mutex.h>
#include <ace/Static_Object_Lock.h>

#include <atomic>

namespace NS_CORBA {

/// Holds a process-wide object that is created on first use and destroyed on request. Creation and
/// destruction hold ACE's static-object lock; get() of an existing object takes no lock. The caller
/// of destroy() ensures that no other thread uses the object. Constant-initialised, so it may be
/// used before static objects are constructed and after they are destroyed.
template <class T>
class LazyInstance {
  public:
    /// Return the object. `make` makes it if it does not exist. Null only when the lock cannot be
    /// taken.
    template <class Make>
    T* get(Make make) {
        if (T* made = existing())
            return made;
        ACE_GUARD_RETURN(ACE_Recursive_Thread_Mutex, guard, *ACE_Static_Object_Lock::instance(),
                         existing());
        if (object_.load(std::memory_order_relaxed) == nullptr)
            object_.store(make(), std::memory_order_release);
        return object_.load(std::memory_order_relaxed);
    }

    /// Return the object, or null when there is none.
    T* existing() const { return object_.load(std::memory_order_acquire); }

    /// Pass the object to `end`, which deletes it, if it exists. The next `get` makes a new one,
    /// even while `end` runs.
    template <class End>
    void destroy(End end) {
        ACE_GUARD(ACE_Recursive_Thread_Mutex, guard, *ACE_Static_Object_Lock::instance());
        if (T* made = object_.exchange(nullptr))
            end(made);
    }

    /// Destroy the object in two steps, if it is still `expected`: `prepare` runs while get() still
    /// returns it, and `end` deletes it. Both are passed the object.
    template <class Prepare, class End>
    void destroy(const T* expected, Prepare prepare, End end) {
        ACE_GUARD(ACE_Recursive_Thread_Mutex, guard, *ACE_Static_Object_Lock::instance());
        T* const made = existing();
        if (made == nullptr || made != expected)
            return;
        prepare(made);
        object_.store(nullptr, std::memory_order_release);
        end(made);
    }

  private:
    std::atomic<T*> object_{nullptr};
};

}  // namespace NS_CORBA
