#pragma once

#include <kelp/nms/callback_activation.h>
#include <kelp/nms/error.h>
#include <kelp/orb/corba.h>
#include <mtnm/common.h>
#include <mtnm/emsSession.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace kelp::nms {

/// A session at an EMS. The destructor ends it. The operations may be called from any thread. They
/// throw ProcessingFailure or CallFailed.
class NmsSession {
  public:
    /// Take over a session: this NMS's session object, and the EMS's.
    NmsSession(CallbackActivation callback, emsSession::EmsSession_I_ptr session);
    /// End the session unless it has ended, and deactivate this NMS's session object.
    ~NmsSession();
    NmsSession(const NmsSession&) = delete;
    NmsSession& operator=(const NmsSession&) = delete;

    /// The EMS's session object and this NMS's session object. Both references are borrowed.
    emsSession::EmsSession_I_ptr reference() const { return session_.in(); }
    nmsSession::NmsSession_I_ptr callback() const { return callback_.reference(); }

    void ping();
    std::vector<std::string> managerNames();
    /// Return the manager of that name, never nil. The caller owns the reference.
    common::Common_I_ptr manager(const std::string& name);
    /// Return the manager narrowed to the interface that belongs to its name. Throws NmsError when
    /// it has another interface.
    template <class Interface>
    typename Interface::_ptr_type managerAs(const std::string& name) {
        const common::Common_I_var any = manager(name);
        typename Interface::_ptr_type typed = Interface::_nil();
        call("getManager(" + name + ")", [&] { typed = Interface::_narrow(any.in()); });
        if (CORBA::is_nil(typed))
            throw NmsError("the manager " + name +
                           " does not implement the interface expected for its name");
        return typed;
    }

    /// Tell the EMS that this NMS ends the session. The operation is oneway, so it returns before
    /// the session has ended: see isGone().
    void end();
    /// Make the destructor send nothing to the EMS. Call this when the EMS is gone or has ended the
    /// session.
    void abandon() { ended_ = true; }
    /// Wait, at most `limit`, until the EMS no longer knows the session object. Return whether that
    /// is so.
    bool isGone(std::chrono::milliseconds limit);

    /// Run calls to the EMS. Turn the exceptions that they raise into ProcessingFailure or
    /// CallFailed, whose text begins with `doing`.
    static void call(const std::string& doing, const std::function<void()>& calls);

  private:
    CallbackActivation callback_;
    const emsSession::EmsSession_I_var session_;
    std::atomic<bool> ended_{false};
};

}  // namespace kelp::nms
