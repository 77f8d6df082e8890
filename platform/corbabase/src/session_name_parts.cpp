#include "session_name_parts.h"

#include <kelp/util/thread_context.h>

namespace NS_CORBA {

namespace {

std::string between(const std::string& text, const std::string& tag, const std::string& endTag) {
    return NS_UTIL::SelfUtilCommon::Instance()->GetValByTag(text, tag, endTag, static_cast<int>(tag.size()));
}

}  // namespace

std::string userOfSessionName(const std::string& sessionName) {
    static const std::string tag = "<USERNAME_TAG>";
    static const std::string endTag = "</USERNAME_TAG>";
    return between(sessionName, tag, endTag);
}

std::string nmsAddressOfSessionName(const std::string& sessionName) {
    static const std::string tag = "<IPANDPORT_TAG>";
    static const std::string endTag = "</IPANDPORT_TAG>";
    return between(sessionName, tag, endTag);
}

}  // namespace NS_CORBA
