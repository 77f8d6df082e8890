#pragma once

#include <kelp/util/export.h>
#include <kelp/util/trace_log.h>
#include <mtnm/globaldefs.h>

#include <string>

namespace NS_KELPCORBA {

/// An internal failure of this module: an object adapter, a reference or a log-in.
inline constexpr unsigned long kInternalFailure = 0x411800BA;
/// A registry could not add the entry.
inline constexpr unsigned long kRegistryFailure = 0x411800BE;
/// The EMS does not implement the operation.
inline constexpr unsigned long kOperationNotImplemented = 0x41180032;
/// The EMS does not serve a manager of this name.
inline constexpr unsigned long kUnknownManager = 0x41180039;
/// The NMS's own reference cannot be parsed.
inline constexpr unsigned long kUnparsableReference = 0x41180053;
/// The EMS has reached its limit of open iterators.
inline constexpr unsigned long kTooManyOpenIterators = 0x41180102;
/// An input is null.
inline constexpr unsigned long kNullInput = 0x4118005F;

/// Set type and reason of the exception for an error code. Ranges of codes map to the TMF 814
/// ExceptionType_T. Code 0 leaves the exception unchanged.
KELP_EXPORT void KelpCorbaErrTranslator(unsigned long code,
                                        globaldefs::ProcessingFailureException& exception);

/// Make the translator if needed, then fill the exception like KelpCorbaErrTranslator.
KELP_EXPORT void ConstructException(unsigned long code,
                                    globaldefs::ProcessingFailureException& exception);

/// Throw the ProcessingFailureException for the code. Servants fail a request this way. Returns
/// when the code is 0.
KELP_EXPORT void ThrowException(unsigned long code);

/// Throw the exception for a code that is not 0, and append `about` to the reason. TMF 814 wants
/// the reason to name the offending parameter or name. `about` is escaped, and cut to 1024 bytes.
[[noreturn]] inline void ThrowException(unsigned long code, const std::string& about) {
    // Bytes. The text may come from the caller and have any length.
    constexpr std::size_t kLongestAbout = 1024;
    globaldefs::ProcessingFailureException exception;
    ConstructException(code, exception);
    std::string reason(exception.errorReason.in());
    if (reason.ends_with('.'))
        reason.pop_back();
    exception.errorReason =
        CORBA::string_dup((reason + ": " + kelp::util::escaped(about, kLongestAbout)).c_str());
    throw exception;
}

/// Set `text` to "(code) " and the catalogue's text for the code. Return 0, or -1 when there is no
/// catalogue.
KELP_EXPORT int GetInfo(unsigned long code, std::string& text);

}  // namespace NS_KELPCORBA
