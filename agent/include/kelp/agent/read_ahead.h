#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace NS_KELPCORBA {

/// How long a batch that was read ahead waits for its NMS.
inline constexpr std::chrono::seconds kReadAheadKept{60};

/// The NMS that the request in hand is of, for counting: its address. Empty inside the process.
KELP_EXPORT std::string readAheadOwner();

/// One of the places for batches that are read before an NMS asks for them (`[iterator]
/// read_ahead`), given back at its end. Any thread.
class KELP_EXPORT ReadAheadPlace {
  public:
    ReadAheadPlace() = default;
    ReadAheadPlace(ReadAheadPlace&& other) noexcept
        : isTaken_(std::exchange(other.isTaken_, false)), owner_(std::move(other.owner_)) {}
    ReadAheadPlace& operator=(ReadAheadPlace&& other) noexcept {
        std::swap(isTaken_, other.isTaken_);
        owner_.swap(other.owner_);
        return *this;
    }
    ~ReadAheadPlace() { giveBack(); }

    /// One of the places, or none when all are taken, or half of them by this owner, who could
    /// otherwise keep all others from theirs. An empty owner may have all.
    static ReadAheadPlace take(const std::string& owner = {});
    explicit operator bool() const { return isTaken_; }
    void giveBack();

    /// Places that are taken, for diagnosis.
    static int taken();

  private:
    bool isTaken_ = false;
    std::string owner_;
};

class ReadAheadHolder;

/// Those who may hold a batch that was read ahead. Any thread; nobody is called under its lock.
class ReadAheadHolders {
  public:
    /// Known from here on, as long as it lives. A second time: nothing.
    KELP_EXPORT static void enter(const std::shared_ptr<ReadAheadHolder>& holder);
    /// At the holder's end.
    KELP_EXPORT static void leave(const ReadAheadHolder& holder);
    /// Has all drop what has waited for kReadAheadKept.
    static void dropStale(std::chrono::steady_clock::time_point now);
};

/// Somebody who may hold a batch that was read ahead.
class ReadAheadHolder {
  public:
    using Time = std::chrono::steady_clock::time_point;

    ReadAheadHolder() = default;
    ReadAheadHolder(const ReadAheadHolder&) = delete;
    ReadAheadHolder& operator=(const ReadAheadHolder&) = delete;
    virtual ~ReadAheadHolder() { ReadAheadHolders::leave(*this); }
    /// Lets go of a batch that was asked for before `time`, and of its place. Never waits.
    virtual void dropAheadOlderThan(Time time) = 0;
};

/// Has the work done by a worker of the module's task manager. False: by nobody, since there is
/// none, it ends or is busy beyond its queue. What is queued when the module stops is destroyed
/// undone.
KELP_EXPORT bool readAheadLater(std::function<void()> work);

}  // namespace NS_KELPCORBA
