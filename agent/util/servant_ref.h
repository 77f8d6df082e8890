#pragma once

#include <utility>

namespace NS_KELPCORBA {

/// One counted reference on a servant. The destructor drops it. Can be moved but not copied.
template <class S>
class ServantRef {
  public:
    ServantRef() = default;
    /// Take over a reference that the caller owns.
    static ServantRef take(S* servant) { return ServantRef(servant); }
    /// Add a reference. The caller holds the lock that keeps `servant` alive during the call.
    static ServantRef pin(S* servant) {
        if (servant != nullptr)
            servant->_add_ref();
        return ServantRef(servant);
    }

    ServantRef(ServantRef&& other) noexcept : servant_(std::exchange(other.servant_, nullptr)) {}
    ServantRef& operator=(ServantRef&& other) noexcept {
        if (this != &other) {
            reset();
            servant_ = std::exchange(other.servant_, nullptr);
        }
        return *this;
    }
    ServantRef(const ServantRef&) = delete;
    ServantRef& operator=(const ServantRef&) = delete;
    ~ServantRef() { reset(); }

    S* get() const { return servant_; }
    S* operator->() const { return servant_; }
    S& operator*() const { return *servant_; }
    explicit operator bool() const { return servant_ != nullptr; }

    /// Return the servant. The caller owns the reference from then on.
    S* release() { return std::exchange(servant_, nullptr); }
    void reset() {
        if (S* servant = std::exchange(servant_, nullptr))
            servant->_remove_ref();
    }

  private:
    explicit ServantRef(S* servant) : servant_(servant) {}
    S* servant_ = nullptr;
};

}  // namespace NS_KELPCORBA
