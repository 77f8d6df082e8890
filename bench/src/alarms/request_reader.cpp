#include "alarms/request_reader.h"

#include <stdexcept>

#include "alarms/octets.h"
#include "giop/message_header.h"

namespace kelp::bench {

namespace {

using orb::giop::kHeaderOctets;
using orb::giop::MessageHeader;
using orb::giop::MessageType;

constexpr std::size_t kIdAt = kHeaderOctets;
/// A fragment repeats the request id.
constexpr std::size_t kFragmentHeaderOctets = kHeaderOctets + 4;

bool continues(const std::string& request, std::string_view message, const MessageHeader& header) {
    return !request.empty() && header.type == MessageType::Fragment &&
           message.size() >= kFragmentHeaderOctets &&
           message.substr(kIdAt, 4) == std::string_view(request).substr(kIdAt, 4);
}

}  // namespace

bool RequestReader::next(std::string& request) {
    while (!isWhole_ && takeMessage()) {
    }
    if (!isWhole_) {
        unread_.erase(0, at_);
        at_ = 0;
        return false;
    }
    request.swap(request_);
    request_.clear();
    isWhole_ = false;
    return true;
}

bool RequestReader::takeMessage() {
    const std::string_view unread = std::string_view(unread_).substr(at_);
    if (unread.size() < kHeaderOctets)
        return false;
    const MessageHeader header = headerOf(unread);
    if (unread.size() < header.octets)
        return false;
    const std::string_view message = unread.substr(0, header.octets);
    if (request_.empty() && header.type == MessageType::Request)
        request_ = message;
    else if (continues(request_, message, header))
        request_ += message.substr(kFragmentHeaderOctets);
    else
        throw std::runtime_error("neither a request nor its next fragment");
    isWhole_ = !header.moreFragments;
    at_ += message.size();
    return true;
}

}  // namespace kelp::bench
