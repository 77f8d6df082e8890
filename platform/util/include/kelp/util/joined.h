#pragma once

#include <string>
#include <string_view>

namespace kelp::util {

/// Join the texts that `textOf` returns for the elements of a range, with `separator` between them.
template <class Range, class TextOf>
std::string joined(const Range& range, std::string_view separator, TextOf textOf) {
    std::string all;
    bool isFirst = true;
    for (const auto& each : range) {
        if (!isFirst)
            all += separator;
        all += textOf(each);
        isFirst = false;
    }
    return all;
}

/// Join the texts of a range with `separator` between them.
template <class Range>
std::string joined(const Range& range, std::string_view separator) {
    return joined(range, separator, [](std::string_view each) { return each; });
}

}  // namespace kelp::util
