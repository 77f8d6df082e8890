#include <kelp/orb/exception_text.h>

#include <cstdio>

namespace kelp::orb {

namespace {

const char* completionText(CORBA::CompletionStatus status) {
    switch (status) {
        case CORBA::COMPLETED_YES:
            return "YES";
        case CORBA::COMPLETED_NO:
            return "NO";
        default:
            return "MAYBE";
    }
}

}  // namespace

std::string exceptionText(const CORBA::Exception& exception) {
    std::string text(exception._name());
    const CORBA::SystemException* system = CORBA::SystemException::_downcast(&exception);
    if (system == nullptr)
        return text;
    char minor[2 + 8 + 1];
    std::snprintf(minor, sizeof minor, "0x%x", static_cast<unsigned>(system->minor()));
    text += " (minor ";
    text += minor;
    text += ", completed ";
    text += completionText(system->completed());
    text += ")";
    return text;
}

}  // namespace kelp::orb
