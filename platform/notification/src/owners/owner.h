#pragma once

#include <kelp/notification/guard.h>
#include <kelp/util/mutex.h>

#include <memory>
#include <string>
#include <vector>

namespace kelp::notification {

/// The caller: the peer of the current request, and the log-ins that its connection belongs to.
struct Caller {
    bool isInside = false;  ///< no request: the call comes from this process
    kelp::util::PeerAddress peer;
    std::vector<LogIn> logIns;  ///< the latest first; empty: only the address is known
};

/// The owner of objects of the channel: a log-in, or an address if the log-in is not known. If
/// several log-ins share a connection, the owner is known by the latest one and stays as long as
/// any of them lives, since nobody can tell which of them made the call. All objects of one owner
/// share it. Thread safe.
class Owner {
  public:
    /// The caller by its latest log-in. Not for a caller inside the process.
    explicit Owner(const Caller& caller);

    /// The peer that made its first object.
    const kelp::util::PeerAddress& peer() const { return peer_; }
    /// Its log-ins. Empty if the owner is an address.
    std::vector<LogIn> logIns() const KELP_EXCLUDES(mutex_);
    /// The log-in's id, or the address: for quotas and comparisons.
    std::string key() const KELP_EXCLUDES(mutex_);
    /// The log-in's name, or the address: for messages.
    std::string text() const KELP_EXCLUDES(mutex_);
    /// Let the objects also belong to these log-ins.
    void join(const std::vector<LogIn>& logIns) KELP_EXCLUDES(mutex_);
    /// Let the objects belong to these log-ins only.
    void become(const std::vector<LogIn>& heirs) KELP_EXCLUDES(mutex_);

  private:
    const kelp::util::PeerAddress peer_;
    mutable util::Mutex mutex_{util::LockRank::Leaf, "Owner::mutex_"};
    std::vector<LogIn> logIns_ KELP_GUARDED_BY(mutex_);
};
/// Null: the object was made inside the process and belongs to the EMS.
using OwnerPtr = std::shared_ptr<Owner>;

/// Whether any of them has not ended.
bool isAnyLive(const Guard& guard, const std::vector<LogIn>& logIns);

/// The owners that have objects, and what callers may do with these objects. Thread safe. Calls the
/// guard without a lock.
class Owners {
  public:
    /// `guard` is borrowed. Null: everybody may use the channel, and owners are addresses.
    explicit Owners(const Guard* guard) : guard_(guard) {}

    /// The caller of the current request.
    Caller caller() const;
    /// Whether the caller may use the channel: its address may, and at least one of its log-ins, if
    /// any are known, has not ended.
    bool mayUse(const Caller& caller) const;
    /// The owner of what the caller makes. Null inside the process. If only the caller's address is
    /// known and `parent`, the owner of the object used to make it, is at that address, it is
    /// `parent`.
    OwnerPtr of(const Caller& caller, const OwnerPtr& parent = nullptr) KELP_EXCLUDES(mutex_);
    /// Whether the caller sees the objects of this owner. A caller sees its objects; a caller
    /// inside the process sees all.
    static bool isShown(const Caller& caller, const OwnerPtr& owner);
    /// Whether the caller, who knows the key of one of this owner's objects, may call the object.
    /// If all log-ins of the owner have ended, a live log-in at the same address that goes on using
    /// the object takes over all the owner's objects.
    bool mayCall(const Caller& caller, const OwnerPtr& owner) const;
    /// All owners that have objects.
    std::vector<OwnerPtr> all() KELP_EXCLUDES(mutex_);

  private:
    std::vector<OwnerPtr> allLocked() KELP_REQUIRES(mutex_);

    const Guard* const guard_;
    util::Mutex mutex_{util::LockRank::ChannelPart, "Owners::mutex_"};
    std::vector<std::weak_ptr<Owner>> owners_ KELP_GUARDED_BY(mutex_);
};

/// Trace that a proxy is dropped. `proxy` names it with the ids of its admin and itself.
void traceDropped(const std::string& proxy, const OwnerPtr& owner);

}  // namespace kelp::notification
