#pragma once

#include <kelp/util/export.h>

#include <functional>
#include <utility>

namespace NS_KELPCORBA {

/// One of the places for batches that are read before an NMS asks for them (`[iterator] read_ahead`), given
/// back at its end. Any thread.
class KELP_EXPORT ReadAheadPlace {
  public:
    ReadAheadPlace() = default;
    ReadAheadPlace(ReadAheadPlace&& other) noexcept : isTaken_(std::exchange(other.isTaken_, false)) {}
    ReadAheadPlace& operator=(ReadAheadPlace&& other) noexcept {
        std::swap(isTaken_, other.isTaken_);
        return *this;
    }
    ~ReadAheadPlace() { giveBack(); }

    /// One of the places, or none when all are taken.
    static ReadAheadPlace take();
    explicit operator bool() const { return isTaken_; }
    void giveBack();

    /// Places that are taken, for diagnosis.
    static int taken();

  private:
    bool isTaken_ = false;
};

/// Has the work done by a worker of the module's task manager. False: by nobody, since there is none, it ends
/// or is busy beyond its queue. What is queued when the module stops is destroyed undone.
KELP_EXPORT bool readAheadLater(std::function<void()> work);

}  // namespace NS_KELPCORBA
