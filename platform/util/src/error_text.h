#pragma once

#include <string>
#include <system_error>

namespace kelp::util {

/// Return the system's text for this errno.
inline std::string errorText(int error) {
    return std::generic_category().message(error);
}

}  // namespace kelp::util
