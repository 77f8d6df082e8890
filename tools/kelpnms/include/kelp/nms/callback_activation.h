#pragma once

#include <kelp/nms/listener.h>
#include <kelp/orb/corba.h>
#include <mtnm/nmsSession.h>

#include <memory>

namespace kelp::nms {

/// The NMS's session object (TMF 814 nmsSession::NmsSession_I), which the EMS pings and to which it
/// reports losses. It is active as long as this C++ object lives, and passes each call on to a
/// listener.
class CallbackActivation {
  public:
    /// Activate the object. Throws CORBA system exceptions.
    CallbackActivation(PortableServer::POA_ptr poa, std::shared_ptr<NmsListener> listener);
    CallbackActivation(CallbackActivation&& other) noexcept;
    ~CallbackActivation();

    /// The reference is borrowed.
    nmsSession::NmsSession_I_ptr reference() const;
    /// Set the session that the object returns as its associated session. Nil removes the
    /// association.
    void associate(session::Session_I_ptr session);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::nms
