#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelp::bench {

/// Set the padding of little-endian CDR (CORBA 15.3) to zero, because a sender may fill it with
/// anything. The values begin at `at` in bytes that are aligned to 4 as in the message. `shape`
/// lists the values: s string, l unsigned long or enumeration, h short, o octet or boolean, (...)
/// sequence of the values in the parentheses. Throws std::runtime_error when the bytes are not
/// exactly those values.
std::string withoutPadding(std::string bytes, std::size_t at, std::string_view shape);

}  // namespace kelp::bench
