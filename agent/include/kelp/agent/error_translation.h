#pragma once

#include <kelp/util/export.h>
#include <kelp/util/trace_log.h>
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

/// Fills type and reason of the exception for an error code (TMF 814 ExceptionType_T by ranges of
/// codes). Code 0: nothing.
KELP_EXPORT void KelpCorbaErrTranslator(unsigned long code,
                                        globaldefs::ProcessingFailureException& exception);

/// Makes sure the translator exists, then fills the exception.
KELP_EXPORT void ConstructException(unsigned long code,
                                    globaldefs::ProcessingFailureException& exception);

/// The normal way for a servant to fail a request. Code 0: returns.
KELP_EXPORT void ThrowException(unsigned long code);

/// The same, where the reason goes on with what it is about: the offending parameter or the name
/// that was passed in, as TMF 814 wants it, escaped and cut when it is long. The code is not 0.
[[noreturn]] inline void ThrowException(unsigned long code, const std::string& about) {
    constexpr std::size_t kLongestAbout =
        1024;  // bytes: it may be the caller's text, of any length
    globaldefs::ProcessingFailureException exception;
    ConstructException(code, exception);
    std::string reason(exception.errorReason.in());
    if (reason.ends_with('.'))
        reason.pop_back();
    exception.errorReason =
        CORBA::string_dup((reason + ": " + kelp::util::escaped(about, kLongestAbout)).c_str());
    throw exception;
}

/// The catalogue's text for a code, in front of it the code in brackets. 0, or -1 when there is no
/// catalogue.
KELP_EXPORT int GetInfo(unsigned long code, std::string& text);

}  // namespace NS_KELPCORBA
