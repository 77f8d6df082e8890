#pragma once

#include <mtnm/globaldefs.h>

#include <stdexcept>
#include <string>

namespace kelp::nms {

/// Why an NMS could not do what it was asked, in one sentence (what()).
class NmsError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// This NMS cannot be called back at the address that it was to listen on.
class CannotListen : public NmsError {
  public:
    using NmsError::NmsError;
};

/// The factory was not found, or what was found does not answer.
class Unreachable : public NmsError {
  public:
    using NmsError::NmsError;
};

/// The naming service answers, but has no session factory, or none under the name that was asked
/// for.
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

/// The event channel refused the filter: it is no constraint.
class FilterRefused : public NmsError {
  public:
    using NmsError::NmsError;
};

/// A call on a session or a manager failed below the level of the interface: time-out, lost
/// connection, no such object.
class CallFailed : public NmsError {
  public:
    CallFailed(const std::string& doing, const CORBA::Exception& raised);

    /// The EMS answered that it has no such object (any more), or is about to give it up.
    bool isOfUnknownObject() const { return isOfUnknownObject_; }

  private:
    bool isOfUnknownObject_;
};

/// Name of an exception type as the standard spells it.
std::string exceptionTypeName(globaldefs::ExceptionType_T type);

}  // namespace kelp::nms
