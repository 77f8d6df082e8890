// Writing a time in the configured form needs the whole base configuration and the ORB. The targets
// only use fixed forms, so they never call these functions.

#include <kelp/corbabase/time_text.h>

#include <cstdlib>

namespace NS_CORBA {

std::string ConfiguredTimeText(const std::tm&) {
    std::abort();
}
std::string ConfiguredTimeText(std::time_t) {
    std::abort();
}

}  // namespace NS_CORBA
