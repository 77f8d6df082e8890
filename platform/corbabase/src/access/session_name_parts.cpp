#include "access/session_name_parts.h"

#include <kelp/util/thread_context.h>

namespace NS_CORBA {

namespace {

std::string_view between(std::string_view text, std::string_view tag, std::string_view endTag) {
    return NS_UTIL::SelfUtilCommon::Instance()->ViewByTag(text, tag, endTag,
                                                          static_cast<int>(tag.size()));
}

}  // namespace

SessionNameParts partsOfSessionName(std::string_view sessionName) {
    return {between(sessionName, "<USERNAME_TAG>", "</USERNAME_TAG>"),
            between(sessionName, "<IPANDPORT_TAG>", "</IPANDPORT_TAG>")};
}

const SessionNameParts& LastSessionName::parts(std::string_view sessionName) {
    if (name_ != sessionName) {
        name_ = sessionName;
        parts_ = partsOfSessionName(name_);
    }
    return parts_;
}

}  // namespace NS_CORBA
