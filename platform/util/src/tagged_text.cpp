#include <kelp/util/thread_context.h>

#include <algorithm>
#include <cstddef>
#include <string>

namespace NS_UTIL {

SelfUtilCommon* SelfUtilCommon::Instance() {
    static SelfUtilCommon instance;
    return &instance;
}

std::string SelfUtilCommon::GetValByTag(const std::string& text, const std::string& openTag,
                                        const std::string& closeTag, int openTagLength) const {
    return std::string(ViewByTag(text, openTag, closeTag, openTagLength));
}

std::string_view SelfUtilCommon::ViewByTag(std::string_view text, std::string_view openTag,
                                           std::string_view closeTag, int openTagLength) const {
    const std::size_t open = text.find(openTag);
    if (open == std::string_view::npos)
        return {};
    const std::size_t begin = open + static_cast<std::size_t>(std::max(openTagLength, 0));
    const std::size_t end = text.find(closeTag, begin);
    return end == std::string_view::npos ? std::string_view() : text.substr(begin, end - begin);
}

}  // namespace NS_UTIL
