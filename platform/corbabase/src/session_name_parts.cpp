#include "session_name_parts.h"

#include <kelp/util/thread_context.h>

namespace NS_CORBA {

namespace {

std::string_view between(std::string_view text, std::string_view tag, std::string_view endTag) {
    return NS_UTIL::SelfUtilCommon::Instance()->ViewByTag(text, tag, endTag, static_cast<int>(tag.size()));
}

}  // namespace

std::string_view userOfSessionName(std::string_view sessionName) {
    return between(sessionName, "<USERNAME_TAG>", "</USERNAME_TAG>");
}

std::string_view nmsAddressOfSessionName(std::string_view sessionName) {
    return between(sessionName, "<IPANDPORT_TAG>", "</IPANDPORT_TAG>");
}

}  // namespace NS_CORBA
