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

/// A live log-in at an EMS. Ends itself with its object. Its operations may be called from any
/// thread; they throw ProcessingFailure or CallFailed.
class NmsSession {
  public:
    /// Takes over a log-in that has been made: this NMS's own object, and the EMS's session.
    NmsSession(CallbackActivation callback, emsSession::EmsSession_I_ptr session);
    /// Ends the session unless that has been done, and takes the NMS's own object down.
    ~NmsSession();
    NmsSession(const NmsSession&) = delete;
    NmsSession& operator=(const NmsSession&) = delete;

    /// The EMS's session object and this NMS's own; borrowed.
    emsSession::EmsSession_I_ptr reference() const { return session_.in(); }
    nmsSession::NmsSession_I_ptr callback() const { return callback_.reference(); }

    void ping();
    std::vector<std::string> managerNames();
    /// The manager of that name, never nil; the caller owns it.
    common::Common_I_ptr manager(const std::string& name);
    /// The same, as the interface that belongs to the name; fails when it has another.
    template <class Interface>
    typename Interface::_ptr_type managerAs(const std::string& name) {
        const common::Common_I_var any = manager(name);
        typename Interface::_ptr_type typed = Interface::_nil();
        call("getManager(" + name + ")", [&] { typed = Interface::_narrow(any.in()); });
        if (CORBA::is_nil(typed))
            throw NmsError("the manager " + name +
                           " has not the interface that its name stands for");
        return typed;
    }

    /// Tells the EMS that this NMS leaves. The operation is oneway: see isGone().
    void end();
    /// The EMS is gone, or has ended the session: the object's end makes no call to it.
    void abandon() { ended_ = true; }
    /// Waits, at most `limit`, until the EMS no longer knows the session object.
    bool isGone(std::chrono::milliseconds limit);

    /// Runs calls to the EMS and turns what they raise into ProcessingFailure or CallFailed, whose
    /// text begins with `doing`.
    static void call(const std::string& doing, const std::function<void()>& calls);

  private:
    CallbackActivation callback_;
    const emsSession::EmsSession_I_var session_;
    std::atomic<bool> ended_{false};
};

}  // namespace kelp::nms
