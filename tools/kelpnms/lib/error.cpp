#include <kelp/nms/error.h>

#include <array>

#include "failure_text.h"

namespace kelp::nms {

namespace {

constexpr std::array kExceptionTypes = {
    "EXCPT_NOT_IMPLEMENTED",
    "EXCPT_INTERNAL_ERROR",
    "EXCPT_INVALID_INPUT",
    "EXCPT_OBJECT_IN_USE",
    "EXCPT_TP_INVALID_ENDPOINT",
    "EXCPT_ENTITY_NOT_FOUND",
    "EXCPT_TIMESLOT_IN_USE",
    "EXCPT_PROTECTION_EFFORT_NOT_MET",
    "EXCPT_NOT_IN_VALID_STATE",
    "EXCPT_UNABLE_TO_COMPLY",
    "EXCPT_NE_COMM_LOSS",
    "EXCPT_CAPACITY_EXCEEDED",
    "EXCPT_ACCESS_DENIED",
    "EXCPT_TOO_MANY_OPEN_ITERATORS",
    "EXCPT_UNSUPPORTED_ROUTING_CONSTRAINTS",
    "EXCPT_USERLABEL_IN_USE",
};

std::string reasonOf(const globaldefs::ProcessingFailureException& exception) {
    const char* reason = exception.errorReason.in();
    return reason == nullptr ? std::string() : std::string(reason);
}

template <class... Exceptions>
bool isOneOf(const CORBA::Exception& raised) {
    return ((Exceptions::_downcast(&raised) != nullptr) || ...);
}

}  // namespace

std::string exceptionTypeName(globaldefs::ExceptionType_T type) {
    return kExceptionTypes.at(static_cast<std::size_t>(type));
}

CallFault faultOf(const CORBA::Exception& raised) {
    if (isOneOf<CORBA::TIMEOUT>(raised))
        return CallFault::TimedOut;
    if (isOneOf<CORBA::OBJECT_NOT_EXIST, CORBA::OBJ_ADAPTER>(raised))
        return CallFault::UnknownObject;
    if (isOneOf<CORBA::NO_PERMISSION>(raised))
        return CallFault::NoPermission;
    return isOneOf<CORBA::BAD_OPERATION>(raised) ? CallFault::WrongObject : CallFault::Other;
}

Unreachable::Unreachable(const std::string& doing, const CORBA::Exception& raised)
    : Unreachable(doing + ": " + failureText(raised), faultOf(raised)) {}

ProcessingFailure::ProcessingFailure(const std::string& doing,
                                     const globaldefs::ProcessingFailureException& raised)
    : NmsError(doing + ": " + exceptionTypeName(raised.exceptionType) + ", reason \"" +
               reasonOf(raised) + "\""),
      type_(raised.exceptionType),
      name_(exceptionTypeName(raised.exceptionType)),
      reason_(reasonOf(raised)) {}

CallFailed::CallFailed(const std::string& doing, const CORBA::Exception& raised)
    : NmsError(doing + ": " + failureText(raised)), fault_(faultOf(raised)) {}

}  // namespace kelp::nms
