#pragma once

#include <kelp/util/export.h>

#include <mtnm/globaldefs.h>

#include <string>

namespace NS_KELPCORBA {

/// Internal failure of this module: adapters, references, log-ins.
inline constexpr unsigned long kInternalFailure = 0x411800BA;
/// A registry could not take the entry.
inline constexpr unsigned long kRegistryFailure = 0x411800BE;
/// An operation that the EMS does not have.
inline constexpr unsigned long kOperationNotImplemented = 0x41180032;
/// A manager name that the EMS does not serve.
inline constexpr unsigned long kUnknownManager = 0x41180039;
/// The NMS's own reference cannot be parsed.
inline constexpr unsigned long kUnparsableReference = 0x41180053;
/// The EMS has as many open iterators as it may have.
inline constexpr unsigned long kTooManyOpenIterators = 0x41180102;
/// A null input.
inline constexpr unsigned long kNullInput = 0x4118005F;

/// Fills type and reason of the exception for an error code (TMF 814 ExceptionType_T by ranges of codes).
/// Code 0: nothing.
KELP_EXPORT void KelpCorbaErrTranslator(unsigned long code,
                                        globaldefs::ProcessingFailureException& exception);

/// Makes sure the translator exists, then fills the exception.
KELP_EXPORT void ConstructException(unsigned long code, globaldefs::ProcessingFailureException& exception);

/// The normal way for a servant to fail a request. Code 0: returns.
KELP_EXPORT void ThrowException(unsigned long code);

/// The catalogue's text for a code, in front of it the code in brackets. 0, or -1 when there is no catalogue.
KELP_EXPORT int GetInfo(unsigned long code, std::string& text);

}  // namespace NS_KELPCORBA
