#pragma once

namespace NS_CORBA {

/// A static object whose destructor never runs, so that threads that outlive main may still use it.
/// Unlike LazyInstance, it cannot be destroyed and needs no memory beyond the module's static data,
/// which is freed when the module is unloaded. Memory that the object still owns then leaks.
template <class T>
union NeverDestroyed {
    T value;

    NeverDestroyed() : value() {}
    ~NeverDestroyed() {}
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;
};

}  // namespace NS_CORBA
