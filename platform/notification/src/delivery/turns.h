#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "delivery/subscription.h"

namespace kelp::notification {

/// Consumers that wait for a thread of a pool. Their owners take turns, whatever the number of
/// their consumers. An owner gets another thread only while more threads are free than it already
/// uses, so one owner's slow or hanging consumers do not keep another owner's waiting for long.
/// Consumers without an owner may use all threads. Not thread safe.
class Turns {
  public:
    using Time = Subscription::Clock::time_point;
    struct Owner;
    struct Waiting {
        std::shared_ptr<Subscription> subscription;
        Owner* owner = nullptr;
    };

    /// For a pool of at most `threads` threads.
    explicit Turns(std::size_t threads);
    ~Turns();
    Turns(const Turns&) = delete;
    Turns& operator=(const Turns&) = delete;

    /// Add a consumer that can be served now. True if its owner may have another thread now.
    bool add(const std::string& owner, std::shared_ptr<Subscription> subscription);
    /// Add a consumer that is not to be served before `when`.
    void add(const std::string& owner, Time when, std::shared_ptr<Subscription> subscription);
    /// Let a consumer that waits until `when` be served at once. False if it does not wait for that
    /// time.
    bool hasten(const Subscription& subscription, Time when);

    /// Take the next consumer that may be served now; none if there is none. The thread that serves
    /// it calls ended() afterwards.
    Waiting take(Time now);
    /// A thread has finished serving a consumer of this owner, which stays valid until the next
    /// add().
    void ended(Owner& owner);
    /// Whether one of this owner's consumers may be taken now.
    bool mayHaveThread(const Owner& owner) const;

    /// The earliest time for which a consumer waits.
    std::optional<Time> nextTime() const;
    /// Whether no consumer can be served now.
    bool isNoneDue() const { return due_.empty(); }
    bool empty() const { return timed_.empty() && due_.empty(); }
    /// Take all that wait. ended() is still due for those being served.
    std::list<Waiting> takeAll();

  private:
    /// The owner whose last turn is longest ago comes first. Of those without a turn, the oldest.
    struct ByLastTurn {
        bool operator()(const Owner* one, const Owner* other) const;
    };
    using Places = std::set<Owner*, ByLastTurn>;
    /// Lists of one entry, which can be moved to the owner's list without allocating memory.
    using Timed = std::multimap<Time, std::list<Waiting>>;

    Owner& ownerOf(const std::string& key);
    void makeDue(std::list<Waiting>& one);
    void forgetOld();

    const std::size_t threads_;
    std::size_t busy_ = 0;
    std::uint64_t turns_ = 0;
    std::uint64_t ownersMade_ = 0;
    std::uint64_t forgetAt_ = 0;  ///< turns_ at which owners are forgotten again
    std::map<std::string, std::unique_ptr<Owner>> owners_;
    Places due_;  ///< owners with consumers that can be served now
    Timed timed_;
};

/// An owner with consumers that wait or are being served.
struct Turns::Owner {
    std::list<Waiting> due;
    std::size_t timed = 0;
    std::size_t busy = 0;  ///< threads serving its consumers
    std::uint64_t lastTurn = 0;
    std::uint64_t number = 0;  ///< in the order of creation
    bool isNobody = false;
    Places::node_type place;  ///< its node for due_ while it is not in there
};

}  // namespace kelp::notification
