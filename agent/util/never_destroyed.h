#pragma once

namespace NS_KELPCORBA {

/// A static object whose destructor never runs, so that threads that outlive main may still use it.
/// It lies in the module's own data: nothing of it is left behind when the module is unloaded and
/// it holds nothing.
template <class T>
union NeverDestroyed {
    T value;

    NeverDestroyed() : value() {}
    ~NeverDestroyed() {}
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;
};

}  // namespace NS_KELPCORBA
