#include "refusal.h"

#include <kelp/agent/error_translation.h>
#include <kelp/util/trace_log.h>

#include <mtnm/globaldefs.h>

namespace kelp::managers {

namespace {

/// In bytes: a name that was passed in is the caller's text, of any length.
constexpr std::size_t kLongestAbout = 1024;

}  // namespace

void refuse(unsigned long code) {
    globaldefs::ProcessingFailureException refusal;
    NS_KELPCORBA::ConstructException(code, refusal);
    throw refusal;
}

void refuse(unsigned long code, const std::string& about) {
    globaldefs::ProcessingFailureException refusal;
    NS_KELPCORBA::ConstructException(code, refusal);
    std::string reason(refusal.errorReason.in());
    if (reason.ends_with('.'))
        reason.pop_back();
    refusal.errorReason = CORBA::string_dup((reason + ": " + util::escaped(about, kLongestAbout)).c_str());
    throw refusal;
}

void refuseUserLabel(const std::string& label) {
    throw globaldefs::ProcessingFailureException(globaldefs::EXCPT_USERLABEL_IN_USE, label.c_str());
}

}  // namespace kelp::managers
