#pragma once

#include <kelp/orb/corba.h>

namespace NS_CORBA {

/// What a system exception says about the object that was called.
enum class CallFailure {
    Gone,     ///< it does not exist
    Later,    ///< it did not answer, or cannot at present: the same call may succeed later
    Refused,  ///< it will not do this, now or later
};

CallFailure kindOf(const CORBA::SystemException& failure);

}  // namespace NS_CORBA
