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

}  // namespace

std::string exceptionTypeName(globaldefs::ExceptionType_T type) {
    return kExceptionTypes.at(static_cast<std::size_t>(type));
}

ProcessingFailure::ProcessingFailure(const std::string& doing,
                                     const globaldefs::ProcessingFailureException& raised)
    : NmsError(doing + ": " + exceptionTypeName(raised.exceptionType) + ", reason \"" +
               reasonOf(raised) + "\""),
      type_(raised.exceptionType),
      name_(exceptionTypeName(raised.exceptionType)),
      reason_(reasonOf(raised)) {}

CallFailed::CallFailed(const std::string& doing, const CORBA::Exception& raised)
    : NmsError(doing + ": " + failureText(raised)),
      isOfUnknownObject_(CORBA::OBJECT_NOT_EXIST::_downcast(&raised) != nullptr ||
                         CORBA::OBJ_ADAPTER::_downcast(&raised) != nullptr) {}

}  // namespace kelp::nms
