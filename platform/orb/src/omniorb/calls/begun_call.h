#pragma once

#include <kelp/orb/corba.h>
#include <omniORB4/callDescriptor.h>

// the parts of a call are declared only in the ORB's internal headers, whose order matters
// clang-format off
#include <omniORB4/IOP_C.h>
#include <omniORB4/omniIOR.h>
#include <omniORB4/internal/giopRope.h>
#include <omniORB4/internal/giopStrand.h>
#include <omniORB4/internal/giopStream.h>
#include <omniORB4/internal/giopStreamImpl.h>
#include <omniORB4/internal/GIOP_C.h>
#include <omniORB4/internal/remoteIdentity.h>
// clang-format on

#include <memory>

#include "omniorb/calls/socket_line.h"

namespace kelp::orb {

/// A remote call in two steps: the first sends the request, the second reads the reply. It does
/// what the ORB does for a call, but leaves the waiting in between to the user, who asks line().
class BegunCall {
  public:
    enum class End { Returned, Undecided };

    /// `call` describes the call and outlives this object.
    explicit BegunCall(omniCallDescriptor& call) : call_(call) {}
    /// Releases the connection. If the call has no end, the connection is closed.
    ~BegunCall();
    BegunCall(const BegunCall&) = delete;
    BegunCall& operator=(const BegunCall&) = delete;

    /// Take a connection to `target` that is open, has served a call already and is free now.
    /// Return false if there is none, or if the call would not go over plain TCP. Does not wait.
    bool prepare(CORBA::Object_ptr target);
    const std::shared_ptr<SocketLine>& line() const { return line_; }
    /// Send the request over line(). Raises what prevents the call, or the ORB's own exception for
    /// a failed connection.
    void send();
    /// Read the reply, once line() has said that the call has ended, and release the connection.
    /// Returns Undecided when the ORB would make the call again. Otherwise raises the exceptions of
    /// the call.
    End receive();

  private:
    class Ending;

    void release();
    bool findIdentity(omniObjRef& target);
    bool takeClient();

    omniCallDescriptor& call_;
    omniRemoteIdentity* identity_ = nullptr;
    omniIOR* reference_ = nullptr;
    omni::giopRope* rope_ = nullptr;
    omni::GIOP_C* client_ = nullptr;
    std::shared_ptr<SocketLine> line_;
};

}  // namespace kelp::orb
