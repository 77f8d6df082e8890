#pragma once

#include <kelp/orb/corba.h>

namespace NS_CORBA {

/// What a system exception means for the called object.
enum class CallFailure {
    Gone,     ///< it does not exist
    Later,    ///< it did not answer or cannot now: the same call may succeed later
    Refused,  ///< it will not do this, now or later
};

CallFailure kindOf(const CORBA::SystemException& failure);

}  // namespace NS_CORBA
