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
/// their consumers, and no owner has so many threads in hand as are left for the others: however
/// many of one owner's consumers are slow or hang, another's are served soon. Those that are
/// nobody's may have all threads. Not thread safe.
class Turns {
  public:
    using Time = Subscription::Clock::time_point;
    struct Owner;
    struct Waiting {
        std::shared_ptr<Subscription> subscription;
        Owner* owner = nullptr;
    };

    /// For a pool of at most so many threads.
    explicit Turns(std::size_t threads);
    ~Turns();
    Turns(const Turns&) = delete;
    Turns& operator=(const Turns&) = delete;

    /// True when its owner may have another thread now.
    bool add(const std::string& owner, std::shared_ptr<Subscription> subscription);
    /// Not to be taken before that time.
    void add(const std::string& owner, Time when, std::shared_ptr<Subscription> subscription);
    /// It was to wait until `when`, and need not any longer. False when it does not wait for that
    /// time.
    bool hasten(const Subscription& subscription, Time when);

    /// The next one, for a thread that serves it and then says ended(); without a subscription when
    /// there is none that may be served now.
    Waiting take(Time now);
    /// Its thread is free again.
    void ended(Owner& owner);
    /// Whether one of this owner's consumers may be taken now.
    bool mayHaveThread(const Owner& owner) const;

    /// When the next one may be taken of those that wait for a time.
    std::optional<Time> nextTime() const;
    bool empty() const { return timed_.empty() && due_.empty(); }
    /// All that wait. What is being served still says ended().
    std::list<Waiting> takeAll();

  private:
    /// The one whose last turn is longest ago comes first, and of those without one the eldest.
    struct ByLastTurn {
        bool operator()(const Owner* one, const Owner* other) const;
    };
    using Places = std::set<Owner*, ByLastTurn>;
    /// Lists of one: to move an entry from here to its owner takes no memory.
    using Timed = std::multimap<Time, std::list<Waiting>>;

    Owner& ownerOf(const std::string& key);
    void makeDue(std::list<Waiting>& one);
    void forgetOld();

    const std::size_t threads_;
    std::size_t busy_ = 0;
    std::uint64_t turns_ = 0;
    std::uint64_t ownersMade_ = 0;
    std::map<std::string, std::unique_ptr<Owner>> owners_;
    Places due_;  ///< the owners that have consumers whose time has come
    Timed timed_;
};

/// An owner of consumers that wait or are being served.
struct Turns::Owner {
    std::list<Waiting> due;
    std::size_t timed = 0;
    std::size_t busy = 0;  ///< threads that serve its consumers
    std::uint64_t lastTurn = 0;
    std::uint64_t number = 0;  ///< in the order of coming
    bool isNobody = false;
    Places::node_type place;  ///< for due_, while it is not there
};

}  // namespace kelp::notification
