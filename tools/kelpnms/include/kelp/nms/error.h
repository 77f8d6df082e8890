#pragma once

#include <mtnm/globaldefs.h>

#include <stdexcept>
#include <string>

namespace kelp::nms {

/// An operation of the NMS failed. what() says why in one sentence.
class NmsError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What a failed call shows about the peer.
enum class CallFault {
    TimedOut,       ///< it did not answer in time
    UnknownObject,  ///< it does not know the object (any more), or is about to deactivate it
    NoPermission,   ///< it refuses calls of this NMS
    WrongObject,    ///< it answers, but the object is not what the name or address promises
    Other,          ///< such as a lost connection
};

/// Return what a CORBA exception shows about the peer.
CallFault faultOf(const CORBA::Exception& raised);

/// This NMS cannot listen on the address where the EMS is to call it back.
class CannotListen : public NmsError {
  public:
    using NmsError::NmsError;
};

/// The factory was not found, or the object that was found does not answer.
class Unreachable : public NmsError {
  public:
    explicit Unreachable(const std::string& what, CallFault fault = CallFault::Other)
        : NmsError(what), fault_(fault) {}
    /// The text is `doing`, a colon and the exception.
    Unreachable(const std::string& doing, const CORBA::Exception& raised);

    CallFault fault() const { return fault_; }

  private:
    CallFault fault_;
};

/// The naming service answers, but it has no session factory, or none under the requested name.
class NotRegistered : public Unreachable {
  public:
    using Unreachable::Unreachable;
};

/// The EMS answered with globaldefs::ProcessingFailureException.
class ProcessingFailure : public NmsError {
  public:
    ProcessingFailure(const std::string& doing,
                      const globaldefs::ProcessingFailureException& raised);

    globaldefs::ExceptionType_T exceptionType() const { return type_; }
    /// Name of the exception type, such as "EXCPT_ACCESS_DENIED".
    const std::string& exceptionName() const { return name_; }
    const std::string& errorReason() const { return reason_; }

  private:
    globaldefs::ExceptionType_T type_;
    std::string name_;
    std::string reason_;
};

/// The EMS refused the log-in.
class LoginRefused : public ProcessingFailure {
  public:
    using ProcessingFailure::ProcessingFailure;
};

/// The event channel refused the filter because it is not a valid constraint.
class FilterRefused : public NmsError {
  public:
    using NmsError::NmsError;
};

/// A call on a session or a manager failed with a CORBA exception, such as a time-out, a lost
/// connection, or an unknown object, and not with an exception of the interface.
class CallFailed : public NmsError {
  public:
    CallFailed(const std::string& doing, const CORBA::Exception& raised);

    CallFault fault() const { return fault_; }
    /// Whether the EMS answered that it does not know the object (any more), or is about to
    /// deactivate it.
    bool isOfUnknownObject() const { return fault_ == CallFault::UnknownObject; }

  private:
    CallFault fault_;
};

/// The name of an exception type as the standard spells it.
std::string exceptionTypeName(globaldefs::ExceptionType_T type);

}  // namespace kelp::nms
