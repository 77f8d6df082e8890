#include "refusal.h"

#include <kelp/agent/error_translation.h>
#include <mtnm/globaldefs.h>

namespace kelp::managers {

void refuse(unsigned long code) {
    globaldefs::ProcessingFailureException refusal;
    NS_KELPCORBA::ConstructException(code, refusal);
    throw refusal;
}

void refuse(unsigned long code, const std::string& about) {
    NS_KELPCORBA::ThrowException(code, about);
}

void refuseUserLabel(const std::string& label) {
    throw globaldefs::ProcessingFailureException(globaldefs::EXCPT_USERLABEL_IN_USE, label.c_str());
}

}  // namespace kelp::managers
