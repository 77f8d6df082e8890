#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kelp::bench {

/// Finds the complete requests in the octets of one connection, and joins those received in
/// fragments (CORBA 15.4.9).
class RequestReader {
  public:
    /// Add octets as they arrive.
    void add(std::string_view octets) { unread_.append(octets); }
    /// Take the next complete request, as one message with the header of its first part. Return
    /// false when more octets are needed. Throws std::runtime_error for a message that is neither a
    /// request nor the next fragment of the one that began.
    bool next(std::string& request);

  private:
    bool takeMessage();

    std::string unread_;
    std::size_t at_ = 0;   ///< in unread_, of the next message
    std::string request_;  ///< what has come of a request
    bool isWhole_ = false;
};

}  // namespace kelp::bench
