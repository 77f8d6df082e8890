#pragma once

#include <kelp/orb/request.h>

#include <mutex>
#include <optional>
#include <string>

namespace kelp::notification {

/// Where a proxy was obtained or connected from last, as far as that came over a connection. Thread safe.
class Owner {
  public:
    /// The peer of the request in hand.
    Owner() { note(); }

    /// The peer of the request in hand is the owner from here on, if there is one.
    void note() {
        if (const kelp::orb::RequestInfo* request = kelp::orb::currentRequest()) {
            const std::lock_guard guard(mutex_);
            peer_ = request->peer();
        }
    }
    /// None: it was made inside the process.
    std::optional<kelp::orb::PeerAddress> peer() const {
        const std::lock_guard guard(mutex_);
        return peer_;
    }

  private:
    mutable std::mutex mutex_;
    std::optional<kelp::orb::PeerAddress> peer_;  // guarded by mutex_
};

/// The line that tells that a proxy is dropped; `proxy` with its admin's number and its own.
void traceDropped(const std::string& proxy, const Owner& owner);

}  // namespace kelp::notification
