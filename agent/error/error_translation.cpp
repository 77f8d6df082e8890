// Translates error codes to TMF 814 exceptions. Ranges of codes give the type, the platform's error
// catalogue gives the reason.

#include <kelp/bundlemgr/bundle_mgr.h>
#include <kelp/bundlemgr/exceptions.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/corbabase/lazy_instance.h>

#include <atomic>
#include <cstdio>
#include <mutex>

#include "error/error_translator.h"

namespace NS_KELPCORBA {
namespace {

/// The codes from `first` to `last`, both included, and the exception type for them.
struct CodeRange {
    unsigned long first;
    unsigned long last;
    globaldefs::ExceptionType_T type;
};

constexpr CodeRange kRanges[] = {
    {0x41180032, 0x41180052, globaldefs::EXCPT_NOT_IMPLEMENTED},
    {0x41180053, 0x411800B9, globaldefs::EXCPT_INVALID_INPUT},
    {0x411800BA, 0x411800C6, globaldefs::EXCPT_INTERNAL_ERROR},
    {0x411800C7, 0x411800C9, globaldefs::EXCPT_OBJECT_IN_USE},
    {0x411800CA, 0x411800CA, globaldefs::EXCPT_TP_INVALID_ENDPOINT},
    {0x411800CB, 0x411800E8, globaldefs::EXCPT_ENTITY_NOT_FOUND},
    {0x411800E9, 0x411800E9, globaldefs::EXCPT_TIMESLOT_IN_USE},
    {0x411800EA, 0x411800EA, globaldefs::EXCPT_PROTECTION_EFFORT_NOT_MET},
    {0x411800EB, 0x411800EC, globaldefs::EXCPT_NOT_IN_VALID_STATE},
    {0x411800ED, 0x411800FB, globaldefs::EXCPT_UNABLE_TO_COMPLY},
    {0x411800FC, 0x411800FC, globaldefs::EXCPT_NE_COMM_LOSS},
    {0x411800FD, 0x411800FE, globaldefs::EXCPT_CAPACITY_EXCEEDED},
    {0x411800FF, 0x41180101, globaldefs::EXCPT_ACCESS_DENIED},
    {0x41180102, 0x41180102, globaldefs::EXCPT_TOO_MANY_OPEN_ITERATORS},
    {0x41180103, 0x41180106, globaldefs::EXCPT_UNSUPPORTED_ROUTING_CONSTRAINTS},
    // the platform's security and user management
    {0x048AFFFA, 0x048AFFFF, globaldefs::EXCPT_ACCESS_DENIED},
    {0x048FFFA3, 0x048FFFFF, globaldefs::EXCPT_ACCESS_DENIED},
    {0x41000000, 0x41000003, globaldefs::EXCPT_ACCESS_DENIED},
};

globaldefs::ExceptionType_T exceptionType(unsigned long code) {
    for (const CodeRange& range : kRanges) {
        if (range.first <= code && code <= range.last)
            return range.type;
    }
    return globaldefs::EXCPT_INTERNAL_ERROR;
}

/// The reason for a code while there is no catalogue.
std::string unknownError(unsigned long code) {
    char text[32];
    const int length = std::snprintf(text, sizeof text, "(%lu)\tUnknown\terror!", code);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof text)
        return "()Unknown\terror!";
    return text;
}

/// Return the error catalogue. It is looked up until it is found, and then kept for the life of the
/// process. Throws InterfaceNotExistException while it does not exist.
const NS_BUNDLEMGR1::ErrorCodeBufIf& errorCatalogue() {
    static constinit std::atomic<const NS_BUNDLEMGR1::ErrorCodeBufIf*> known{nullptr};
    if (const auto* catalogue = known.load(std::memory_order_acquire))
        return *catalogue;
    const std::lock_guard<std::recursive_mutex> lock(
        NS_BUNDLEMGR1::BundleMgr::Instance()->GlobalMutex());
    if (const auto* catalogue = known.load(std::memory_order_relaxed))
        return *catalogue;
    const auto* catalogue = dynamic_cast<const NS_BUNDLEMGR1::ErrorCodeBufIf*>(
        NS_BUNDLEMGR1::RequireIF("ErrorCodeBufIf"));
    if (catalogue == nullptr)
        throw NS_BUNDLEMGR1::InterfaceNotExistException();
    known.store(catalogue, std::memory_order_release);
    return *catalogue;
}

constinit NS_CORBA::LazyInstance<KelpErrTranslator> translator;

}  // namespace

KelpErrTranslator* KelpErrTranslator::Instance() {
    return translator.get([] { return new KelpErrTranslator; });
}

void KelpErrTranslator::Destroy() {
    translator.destroy([](KelpErrTranslator* made) {
        made->texts_.clear();
        delete made;
    });
}

bool KelpErrTranslator::Init() {
    return true;
}

void KelpErrTranslator::Translate(unsigned long code,
                                  globaldefs::ProcessingFailureException& exception) const {
    KelpCorbaErrTranslator(code, exception);
}

void KelpCorbaErrTranslator(unsigned long code, globaldefs::ProcessingFailureException& exception) {
    if (code == 0)
        return;
    exception.exceptionType = exceptionType(code);
    std::string reason;
    if (GetInfo(code, reason) != 0)
        reason = unknownError(code);
    exception.errorReason = reason.c_str();
}

void ConstructException(unsigned long code, globaldefs::ProcessingFailureException& exception) {
    KelpErrTranslator::Instance();
    KelpCorbaErrTranslator(code, exception);
}

void ThrowException(unsigned long code) {
    if (code == 0)
        return;
    globaldefs::ProcessingFailureException exception;
    KelpCorbaErrTranslator(code, exception);
    throw exception;
}

int GetInfo(unsigned long code, std::string& text) {
    KelpErrTranslator::Instance();
    try {
        // a code without a text still gives the code in brackets and the blank
        std::string words;
        const bool isKnown = errorCatalogue().GetErrorText(code, words);
        text = "(" + std::to_string(code) + ") " + (isKnown ? words : std::string());
        return 0;
    } catch (const NS_BUNDLEMGR1::InterfaceNotExistException&) {
        return -1;
    }
}

}  // namespace NS_KELPCORBA
