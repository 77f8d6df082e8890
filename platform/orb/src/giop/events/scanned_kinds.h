#pragma once

#include <cstdint>

namespace kelp::orb::giop {

/// Kinds of TypeCodes as they are encoded (CORBA 15.3.5.1, table 15-2), as far as a scan of events
/// needs them.
enum ScannedKind : std::uint32_t {
    scNull = 0,
    scVoid = 1,
    scShort = 2,
    scLong = 3,
    scUShort = 4,
    scULong = 5,
    scFloat = 6,
    scDouble = 7,
    scBoolean = 8,
    scChar = 9,
    scOctet = 10,
    scAny = 11,
    scTypeCode = 12,
    scReference = 14,
    scStruct = 15,
    scUnion = 16,
    scEnum = 17,
    scString = 18,
    scSequence = 19,
    scArray = 20,
    scAlias = 21,
    scLongLong = 23,
    scULongLong = 24,
    scLongDouble = 25,
    scWideChar = 26,
    scWideString = 27,
    scFixed = 28,
    scIndirection = 0xffffffff,
};

/// Return whether a TypeCode of the kind has its parameters in an encapsulation.
inline bool isEncapsulated(std::uint32_t kind) {
    return kind == scReference || (kind >= scStruct && kind <= scEnum) ||
           (kind >= scSequence && kind <= scAlias);
}

}  // namespace kelp::orb::giop
