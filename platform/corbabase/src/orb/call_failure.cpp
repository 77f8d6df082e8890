#include "orb/call_failure.h"

namespace NS_CORBA {

namespace {

template <class... Kinds>
bool isOneOf(const CORBA::SystemException& failure) {
    return (... || (Kinds::_downcast(&failure) != nullptr));
}

}  // namespace

CallFailure kindOf(const CORBA::SystemException& failure) {
    if (isOneOf<CORBA::OBJECT_NOT_EXIST, CORBA::INV_OBJREF>(failure))
        return CallFailure::Gone;
    // with one of the last three a channel reports a full queue (Notification Service,
    // RejectNewEvents)
    if (isOneOf<CORBA::TIMEOUT, CORBA::TRANSIENT, CORBA::COMM_FAILURE, CORBA::NO_RESPONSE,
                CORBA::IMP_LIMIT, CORBA::NO_RESOURCES, CORBA::NO_MEMORY>(failure))
        return CallFailure::Later;
    return CallFailure::Refused;
}

}  // namespace NS_CORBA
