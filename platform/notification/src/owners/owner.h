#pragma once

#include <kelp/notification/guard.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kelp::notification {

/// Who calls: the peer of the request in hand, and the log-ins that its connection belongs to.
struct Caller {
    bool isInside = false;  ///< no request: the call comes from this process
    kelp::orb::PeerAddress peer;
    std::vector<LogIn> logIns;  ///< the latest first; empty: the address alone is known
};

/// Whose an object of the channel is: a log-in, or an address where the log-in is not known. Where
/// several log-ins share a connection it is the latest one's, and stays as long as one of them
/// lives: nobody can tell whose call it was. All objects of one owner share it. Thread safe.
class Owner {
  public:
    /// The caller, not one inside the process, by its latest log-in.
    explicit Owner(const Caller& caller);

    /// Where its first object was made from.
    const kelp::orb::PeerAddress& peer() const { return peer_; }
    /// Its log-ins; empty: it is an address.
    std::vector<LogIn> logIns() const;
    /// For quotas and for comparing: the log-in's id, or the address.
    std::string key() const;
    /// For messages.
    std::string text() const;
    /// The objects are these log-ins' as well.
    void join(const std::vector<LogIn>& logIns);
    /// The objects are these log-ins' from here on, and no longer those that were.
    void become(const std::vector<LogIn>& heirs);

  private:
    const kelp::orb::PeerAddress peer_;
    mutable std::mutex mutex_;
    std::vector<LogIn> logIns_;  // guarded by mutex_
};
/// Null: the object was made inside the process, and belongs to the EMS.
using OwnerPtr = std::shared_ptr<Owner>;

/// Whether one of them has not ended.
bool isAnyLive(const Guard& guard, const std::vector<LogIn>& logIns);

/// The owners that have objects, and what callers may do with the objects of each. Thread safe;
/// calls the guard without a lock.
class Owners {
  public:
    /// Null: everybody may use the channel, and owners are addresses.
    explicit Owners(const Guard* guard) : guard_(guard) {}

    /// Of the request in hand.
    Caller caller() const;
    /// Whether the caller may use the channel: its address may, and not all of its log-ins have
    /// ended.
    bool mayUse(const Caller& caller) const;
    /// The owner of what the caller makes; null inside the process. A caller of whom the address
    /// alone is known makes it for the owner of the object that it makes it with, `parent`, if
    /// there is one at that address.
    OwnerPtr of(const Caller& caller, const OwnerPtr& parent = nullptr);
    /// Whether the objects of this owner are shown to the caller: its own, and to a caller inside
    /// the process all.
    static bool isShown(const Caller& caller, const OwnerPtr& owner);
    /// Whether the caller, who knows the key of one of this owner's objects, may call it. What
    /// belonged to a log-in that has ended becomes that of the log-in at the same address that goes
    /// on using it.
    bool mayCall(const Caller& caller, const OwnerPtr& owner) const;
    /// Those that have objects.
    std::vector<OwnerPtr> all();

  private:
    std::vector<OwnerPtr> allLocked();

    const Guard* const guard_;
    std::mutex mutex_;
    std::vector<std::weak_ptr<Owner>> owners_;  // guarded by mutex_
};

/// The line that tells that a proxy is dropped; `proxy` with its admin's number and its own.
void traceDropped(const std::string& proxy, const OwnerPtr& owner);

}  // namespace kelp::notification
