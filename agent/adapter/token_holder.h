#pragma once

#include <kelp/corbabase/session_token.h>

#include <atomic>
#include <list>
#include <mutex>

namespace NS_KELPCORBA {

/// The current token of one POA tree. It is set before the tree serves requests, and again only
/// when another session takes over an existing tree. Any thread may read it. Readers take no lock.
class TokenHolder {
  public:
    void set(const NS_CORBA::SessionToken& token) {
        const std::lock_guard guard(mutex_);
        // earlier tokens are kept, because a reader may still use one
        kept_.push_back(token);
        inForce_.store(&kept_.back(), std::memory_order_release);
    }
    /// Return the token. Null before the first set(). Valid as long as this object.
    const NS_CORBA::SessionToken* get() const { return inForce_.load(std::memory_order_acquire); }

  private:
    std::mutex mutex_;
    std::list<NS_CORBA::SessionToken> kept_;  // guarded by mutex_
    std::atomic<const NS_CORBA::SessionToken*> inForce_{nullptr};
};

}  // namespace NS_KELPCORBA
