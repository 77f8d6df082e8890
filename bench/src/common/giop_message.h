#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kelp::bench {

/// The length of the GIOP message that the bytes begin with, its header included; 0 when they are
/// too few to tell. Throws std::runtime_error for bytes that are no GIOP.
std::size_t messageLength(const std::string& bytes);

/// A request (GIOP 1.2, CORBA 15.4.2) addressed by object key, that expects a reply. `arguments` is
/// their CDR (little endian), aligned from its own beginning.
std::string requestMessage(const std::string& objectKey, const std::string& operation,
                           const std::string& arguments = {});

/// What getEmsSession takes, for requestMessage: the NMS's own object is said to be at a host and
/// port.
std::string logInArguments(const std::string& user, const std::string& password,
                           const std::string& nmsHost, std::uint16_t nmsPort);

/// What a whole reply says it is.
enum class ReplyStatus : std::uint32_t { NoException = 0, UserException = 1, SystemException = 2 };
/// Throws std::runtime_error for a message that is no reply.
ReplyStatus statusOf(const std::string& message);

/// Puts a reply of GIOP 1.2 together, however its sender split it into fragments (CORBA 15.4.9).
class ReplyReader {
  public:
    /// Bytes as they arrive. Throws std::runtime_error for what is no reply nor a fragment of one.
    void add(const std::string& bytes);
    bool isWhole() const { return isWhole_; }
    /// What is behind the header: request id, status, service contexts, results.
    const std::string& content() const { return content_; }

  private:
    std::string unread_;
    std::string content_;
    bool isWhole_ = false;
};

/// The reply without results to a whole GIOP 1.2 request; empty for a oneway request and for
/// messages that are none.
std::string replyTo(const std::string& message);

}  // namespace kelp::bench
