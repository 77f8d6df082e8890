#pragma once

#include <string>
#include <thread>

#include "end_signal.h"

namespace kelp::host {

/// Notifies systemd that the process is ready once the session factory's entry is bound, for a
/// start during which it could not be bound. Until then the status text says why not, and systemd
/// is asked to wait. Its thread ends after that, or when the object is destroyed.
class ReadinessWatch {
  public:
    /// `address`: of the naming service.
    explicit ReadinessWatch(std::string address);
    ~ReadinessWatch();
    ReadinessWatch(const ReadinessWatch&) = delete;
    ReadinessWatch& operator=(const ReadinessWatch&) = delete;

  private:
    void run();

    const std::string address_;
    EndSignal ending_;
    std::thread thread_;
};

}  // namespace kelp::host
