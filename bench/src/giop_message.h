#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kelp::bench {

/// The length of the GIOP message that the bytes begin with, its header included; 0 when they are too few to
/// tell. Throws std::runtime_error for bytes that are no GIOP.
std::size_t messageLength(const std::string& bytes);

/// A request (GIOP 1.2, CORBA 15.4.2) without arguments, addressed by object key, that expects a reply.
std::string requestMessage(const std::string& objectKey, const std::string& operation);

/// The reply without results to a whole GIOP 1.2 request; empty for a oneway request and for messages that
/// are none.
std::string replyTo(const std::string& message);

}  // namespace kelp::bench
