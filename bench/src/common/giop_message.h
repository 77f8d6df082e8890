#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kelp::bench {

/// Return the length of the GIOP message at the beginning of the bytes, including its header.
/// Returns 0 when there are too few bytes to know it. Throws std::runtime_error for bytes that are
/// not GIOP.
std::size_t messageLength(const std::string& bytes);

/// How a client writes its requests.
struct RequestForm {
    bool isBigEndian = false;
    bool hasChosenUtf8 = false;  ///< otherwise its texts are in ISO-8859-1
};

/// Build a request (GIOP 1.2, CORBA 15.4.2) that is addressed by object key and expects a reply.
/// `arguments` is the CDR of the arguments in the byte order of the request, aligned relative to
/// its own start.
std::string requestMessage(const std::string& objectKey, const std::string& operation,
                           const std::string& arguments = {}, const RequestForm& form = {});

/// Append an unsigned long without alignment.
void appendNumber(std::string& bytes, std::uint32_t number, bool isBigEndian);

/// Build the arguments of getEmsSession for requestMessage. The NMS's session object is at
/// `nmsHost` and `nmsPort`.
std::string logInArguments(const std::string& user, const std::string& password,
                           const std::string& nmsHost, std::uint16_t nmsPort);

/// The status of a complete reply.
enum class ReplyStatus : std::uint32_t { NoException = 0, UserException = 1, SystemException = 2 };
/// Read the status of a reply. Throws std::runtime_error for a message that is not a reply.
ReplyStatus statusOf(const std::string& message);

/// Assembles a GIOP 1.2 reply from the fragments that its sender split it into (CORBA 15.4.9).
class ReplyReader {
  public:
    /// Add bytes as they arrive. Throws std::runtime_error for a message that is neither a reply
    /// nor a fragment of one.
    void add(const std::string& bytes);
    bool isWhole() const { return isWhole_; }
    /// The part after the header: request id, status, service contexts, results.
    const std::string& content() const { return content_; }

  private:
    std::string unread_;
    std::string content_;
    bool isWhole_ = false;
};

/// Build the reply without results to a complete GIOP 1.2 request. Returns an empty text for a
/// oneway request and for a message that is not a request.
std::string replyTo(const std::string& message);

}  // namespace kelp::bench
