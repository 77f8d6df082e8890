#pragma once

#include <cos/CosNotification.h>
#include <kelp/orb/dyn_any.h>

#include <optional>

namespace kelp::test {

inline bool areEqual(const CosNotification::StructuredEvent& left,
                     const CosNotification::StructuredEvent& right) {
    CORBA::Any leftAny;
    CORBA::Any rightAny;
    leftAny <<= left;
    rightAny <<= right;
    const DynamicAny::DynAny_var leftValue = kelp::orb::dynAnyOf(leftAny);
    const DynamicAny::DynAny_var rightValue = kelp::orb::dynAnyOf(rightAny);
    const bool equal = leftValue->equal(rightValue.in());
    leftValue->destroy();
    rightValue->destroy();
    return equal;
}

}  // namespace kelp::test
