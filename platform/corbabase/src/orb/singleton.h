#pragma once

#include <ace/Guard_T.h>
#include <ace/Object_Manager.h>
#include <ace/Recursive_Thread_Mutex.h>

#include <atomic>

namespace NS_CORBA {

/// Return the instance in `slot`, created by `make` on first use. Double-checked under ACE's
/// static-object lock.
template <class T, class Make>
T* lazyInstance(std::atomic<T*>& slot, Make make) {
    T* found = slot.load(std::memory_order_acquire);
    if (found == nullptr) {
        ACE_Guard<ACE_Recursive_Thread_Mutex> guard(*ACE_Static_Object_Lock::instance());
        found = slot.load(std::memory_order_relaxed);
        if (found == nullptr) {
            found = make();
            slot.store(found, std::memory_order_release);
        }
    }
    return found;
}

/// Remove the instance from `slot` and pass it to `drop`. Does nothing without an instance.
template <class T, class Drop>
void dropInstance(std::atomic<T*>& slot, Drop drop) {
    ACE_Guard<ACE_Recursive_Thread_Mutex> guard(*ACE_Static_Object_Lock::instance());
    if (T* found = slot.exchange(nullptr, std::memory_order_acq_rel))
        drop(found);
}

}  // namespace NS_CORBA
