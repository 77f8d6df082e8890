#pragma once

#include <kelp/orb/corba.h>

#include <chrono>
#include <memory>

#include "omniorb/calls/socket_line.h"

class omniCallDescriptor;

namespace kelp::orb {

/// A remote call in two steps: the first sends the request, the second reads the reply. It does
/// what the ORB does for a call, but leaves the waiting in between to the user, who asks line().
class BegunCall {
  public:
    using Clock = SocketLine::Clock;
    enum class End { Returned, Undecided };

    /// Prepare a call to `target` over a connection that is open, has served a call already and is
    /// free now. Null if there is none, or if the call would not go over plain TCP. Does not wait.
    static std::unique_ptr<BegunCall> prepare(CORBA::Object_ptr target,
                                              std::unique_ptr<omniCallDescriptor> call);
    /// Releases the connection. If the call has no end, the connection is closed.
    ~BegunCall();
    BegunCall(const BegunCall&) = delete;
    BegunCall& operator=(const BegunCall&) = delete;

    const std::shared_ptr<SocketLine>& line() const;
    /// Send the request. False if the connection has failed; the ORB would then use another one.
    /// Raises what prevents the call otherwise.
    bool send(std::chrono::milliseconds limit);
    /// Read the reply, once line() has said that the call has ended. Returns Undecided when the ORB
    /// would make the call again. Otherwise raises the exceptions of the call.
    End receive();

  private:
    class Parts;
    explicit BegunCall(std::unique_ptr<Parts> parts);
    const std::unique_ptr<Parts> parts_;
};

}  // namespace kelp::orb
