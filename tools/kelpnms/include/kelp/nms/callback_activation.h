#pragma once

#include <kelp/nms/listener.h>
#include <kelp/orb/corba.h>
#include <mtnm/nmsSession.h>

#include <memory>

namespace kelp::nms {

/// The NMS's own session object (TMF 814 nmsSession::NmsSession_I), which the EMS pings and tells
/// of losses, for as long as this object lives. Passes each call on to a listener.
class CallbackActivation {
  public:
    /// Activates the object. Throws CORBA system exceptions.
    CallbackActivation(PortableServer::POA_ptr poa, std::shared_ptr<NmsListener> listener);
    CallbackActivation(CallbackActivation&& other) noexcept;
    ~CallbackActivation();

    /// Borrowed.
    nmsSession::NmsSession_I_ptr reference() const;
    /// What the object answers as its associated session from here on; nil takes it back.
    void associate(session::Session_I_ptr session);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::nms
