#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelp::bench {

/// Little-endian CDR (CORBA 15.3) with zeros for its padding, which a sender may fill with
/// anything. `at` is where the values begin, in bytes that are aligned to 4 as the message is;
/// `shape` says which they are: s string, l unsigned long or enumeration, h short, o octet or
/// boolean, (...) sequence of what is within. Throws std::runtime_error when the bytes are not
/// those values and nothing else.
std::string withoutPadding(std::string bytes, std::size_t at, std::string_view shape);

}  // namespace kelp::bench
