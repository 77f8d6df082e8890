#pragma once

#include <chrono>
#include <functional>
#include <utility>

#include "app/interrupts.h"

namespace kelp::nms {

/// Time that an interrupted program has to leave. It then exits even if the EMS has not answered.
inline constexpr std::chrono::milliseconds kTimeToLeave{10000};

/// Sets a handler of interrupts for the length of a scope.
class Handling {
  public:
    Handling(Interrupts& interrupts, Interrupts::Handler handler,
             std::function<void()> lastWords = nullptr)
        : interrupts_(interrupts) {
        interrupts_.setHandler(std::move(handler), std::move(lastWords));
    }
    ~Handling() { interrupts_.setHandler(nullptr); }
    Handling(const Handling&) = delete;
    Handling& operator=(const Handling&) = delete;

  private:
    Interrupts& interrupts_;
};

}  // namespace kelp::nms
