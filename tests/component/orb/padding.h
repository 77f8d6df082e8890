#pragma once

#include <gtest/gtest.h>

#include <string>

namespace kelp::test {

/// True if the octets differ only in padding. Padding is never longer than seven octets, and the
/// ORB does not initialise it.
inline testing::AssertionResult differOnlyInPadding(const std::string& encoded,
                                                    const std::string& ordinary) {
    if (encoded.size() != ordinary.size())
        return testing::AssertionFailure() << encoded.size() << " octets, not " << ordinary.size();
    std::size_t run = 0;
    for (std::size_t at = 0; at < encoded.size(); ++at) {
        run = encoded[at] == ordinary[at] ? 0 : run + 1;
        if (run > 7)
            return testing::AssertionFailure()
                   << "octet " << at << " of " << encoded.size() << " differs";
    }
    return testing::AssertionSuccess();
}

}  // namespace kelp::test
