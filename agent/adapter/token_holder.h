#pragma once

#include <kelp/corbabase/session_token.h>
#include <kelp/util/mutex.h>

#include <atomic>
#include <list>

namespace NS_KELPCORBA {

/// The current token of one POA tree. It is set before the tree serves requests, and again only
/// when another session takes over an existing tree. Any thread may read it. Readers take no lock.
class TokenHolder {
  public:
    void set(const NS_CORBA::SessionToken& token) KELP_EXCLUDES(mutex_) {
        const kelp::util::MutexLock lock(mutex_);
        // earlier tokens are kept, because a reader may still use one
        kept_.push_back(token);
        inForce_.store(&kept_.back(), std::memory_order_release);
    }
    /// Return the token. Null before the first set(). Valid as long as this object.
    const NS_CORBA::SessionToken* get() const { return inForce_.load(std::memory_order_acquire); }

  private:
    kelp::util::Mutex mutex_{kelp::util::LockRank::Leaf, "TokenHolder::mutex_"};
    std::list<NS_CORBA::SessionToken> kept_ KELP_GUARDED_BY(mutex_);
    std::atomic<const NS_CORBA::SessionToken*> inForce_{nullptr};
};

}  // namespace NS_KELPCORBA
