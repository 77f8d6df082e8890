#pragma once

#include <kelp/corbabase/session_token.h>

#include <atomic>
#include <list>
#include <mutex>

namespace NS_KELPCORBA {

/// The token in force of one POA tree. It is set before the tree serves anybody, and again only
/// when another session takes over a tree that is there already. Readers, on any thread, take no
/// lock.
class TokenHolder {
  public:
    void set(const NS_CORBA::SessionToken& token) {
        const std::lock_guard guard(mutex_);
        // those from before are kept: a reader may still be at one
        kept_.push_back(token);
        inForce_.store(&kept_.back(), std::memory_order_release);
    }
    /// Null before the first set(); valid as long as this object.
    const NS_CORBA::SessionToken* get() const { return inForce_.load(std::memory_order_acquire); }

  private:
    std::mutex mutex_;
    std::list<NS_CORBA::SessionToken> kept_;  // guarded by mutex_
    std::atomic<const NS_CORBA::SessionToken*> inForce_{nullptr};
};

}  // namespace NS_KELPCORBA
