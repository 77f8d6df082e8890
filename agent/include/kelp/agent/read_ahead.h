#pragma once

#include <kelp/util/export.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace NS_KELPCORBA {

/// How long a batch that was read ahead is kept for its NMS.
inline constexpr std::chrono::seconds kReadAheadKept{60};

/// Return the owner of a read-ahead place that the current request takes: the network of the NMS's
/// address. Empty for a call inside the process.
KELP_EXPORT std::string readAheadOwner();

/// One of the places for batches that are read ahead (`[iterator] read_ahead`). The destructor
/// gives it back. Any thread may call it.
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

    /// Take a place. The result is empty when all places are taken, or when this owner has half of
    /// them (rounded up), so that no single NMS can occupy all. An empty owner may take all.
    static ReadAheadPlace take(const std::string& owner = {});
    explicit operator bool() const { return isTaken_; }
    void giveBack();

    /// Number of places taken, for diagnosis.
    static int taken();

  private:
    bool isTaken_ = false;
    std::string owner_;
};

class ReadAheadHolder;

/// The registry of all holders of batches that were read ahead. Any thread may call it. It calls no
/// holder under its lock.
class ReadAheadHolders {
  public:
    /// Register a holder for as long as it lives. A second registration has no effect.
    KELP_EXPORT static void enter(const std::shared_ptr<ReadAheadHolder>& holder);
    /// Remove a holder. Its destructor calls this.
    KELP_EXPORT static void leave(const ReadAheadHolder& holder);
    /// Let all holders drop the batches that have been kept for kReadAheadKept.
    static void dropStale(std::chrono::steady_clock::time_point now);
};

/// An object that may hold a batch that was read ahead.
class ReadAheadHolder {
  public:
    using Time = std::chrono::steady_clock::time_point;

    ReadAheadHolder() = default;
    ReadAheadHolder(const ReadAheadHolder&) = delete;
    ReadAheadHolder& operator=(const ReadAheadHolder&) = delete;
    virtual ~ReadAheadHolder() { ReadAheadHolders::leave(*this); }
    /// Drop the batch whose read was requested before `time`, and give back its place. Never waits.
    virtual void dropAheadOlderThan(Time time) = 0;
};

/// Queue the work for a worker of the module's task manager. Return false when the task manager
/// does not exist, is stopping or has a full queue. Work that is still queued when the module stops
/// is destroyed without being run.
KELP_EXPORT bool readAheadLater(std::function<void()> work);

}  // namespace NS_KELPCORBA
