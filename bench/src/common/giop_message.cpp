#include "common/giop_message.h"

#include <stdexcept>

namespace kelp::bench {

namespace {

constexpr std::size_t kHeaderBytes = 12;
constexpr std::size_t kFlagsAt = 6;
constexpr std::size_t kSizeAt = 8;
constexpr std::size_t kRequestIdAt = 12;
constexpr std::size_t kResponseFlagsAt = 16;
constexpr std::size_t kReplyStatusAt = 16;
constexpr char kRequest = 0;
constexpr char kReply = 1;
constexpr char kFragment = 7;
constexpr char kLittleEndian = 1;
constexpr std::uint8_t kMoreFragments = 2;
constexpr char kReplyExpected = 3;
/// The service context CodeSets (CORBA 13.10.2.5) and its content: a big-endian encapsulation with
/// the code sets of char and wchar.
constexpr std::size_t kCodeSets = 1;
const std::string kUtf8AndUtf16("\0\0\0\0\x05\x01\0\x01\0\x01\x01\x09", 12);

std::uint8_t byteAt(const std::string& bytes, std::size_t at) {
    return static_cast<std::uint8_t>(bytes.at(at));
}

/// Read an unsigned long in the byte order that the message's flags give.
std::uint32_t numberAt(const std::string& message, std::size_t at) {
    const bool littleEndian = (byteAt(message, 6) & kLittleEndian) != 0;
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < 4; ++i)
        number = number << 8 | byteAt(message, at + (littleEndian ? 3 - i : i));
    return number;
}

void append(std::string& message, std::uint32_t number) {
    for (int i = 0; i < 4; ++i)
        message.push_back(static_cast<char>(number >> (8 * i) & 0xff));
}

void align(std::string& message, std::size_t to = 4) {
    message.resize((message.size() + to - 1) / to * to);
}

void appendString(std::string& message, const std::string& text) {
    align(message);
    append(message, static_cast<std::uint32_t>(text.size() + 1));
    message.append(text.c_str(), text.size() + 1);
}

std::string headerOf(char type) {
    return std::string("GIOP\x01\x02", 6) + kLittleEndian + type + std::string(4, '\0');
}

std::string finished(std::string message) {
    std::string size;
    append(size, static_cast<std::uint32_t>(message.size() - kHeaderBytes));
    return message.replace(kSizeAt, size.size(), size);
}

}  // namespace

std::size_t messageLength(const std::string& bytes) {
    if (bytes.size() < kHeaderBytes)
        return 0;
    if (bytes.compare(0, 4, "GIOP") != 0)
        throw std::runtime_error("this is no GIOP");
    return kHeaderBytes + numberAt(bytes, kSizeAt);
}

void appendNumber(std::string& bytes, std::uint32_t number, bool isBigEndian) {
    for (int i = 0; i < 4; ++i)
        bytes.push_back(static_cast<char>(number >> (8 * (isBigEndian ? 3 - i : i)) & 0xff));
}

std::string requestMessage(const std::string& objectKey, const std::string& operation,
                           const std::string& arguments, const RequestForm& form) {
    const auto put = [&form](std::string& to, std::size_t number) {
        appendNumber(to, static_cast<std::uint32_t>(number), form.isBigEndian);
    };
    std::string message = headerOf(kRequest);
    if (form.isBigEndian)
        message[kFlagsAt] = 0;
    put(message, 1);  // request id
    message.push_back(kReplyExpected);
    message.append(3, '\0');
    put(message, 0);  // the target is addressed by its object key
    put(message, objectKey.size());
    message += objectKey;
    align(message);
    put(message, operation.size() + 1);
    message.append(operation.c_str(), operation.size() + 1);
    align(message);
    put(message, form.hasChosenUtf8 ? 1 : 0);  // service contexts
    if (form.hasChosenUtf8) {
        put(message, kCodeSets);
        put(message, kUtf8AndUtf16.size());
        message += kUtf8AndUtf16;
    }
    if (!arguments.empty())
        align(message, 8);
    message += arguments;
    std::string size;
    put(size, message.size() - kHeaderBytes);
    return message.replace(kSizeAt, size.size(), size);
}

std::string logInArguments(const std::string& user, const std::string& password,
                           const std::string& nmsHost, std::uint16_t nmsPort) {
    std::string profile(1, kLittleEndian);
    profile += std::string("\x01\x00", 2);  // IIOP 1.0
    appendString(profile, nmsHost);
    align(profile, 2);
    profile.push_back(static_cast<char>(nmsPort & 0xff));
    profile.push_back(static_cast<char>(nmsPort >> 8));
    appendString(profile, "nm");  // the object key, "nm" and a zero byte

    std::string arguments;
    appendString(arguments, user);
    appendString(arguments, password);
    appendString(arguments, "IDL:mtnm.tmforum.org/nmsSession/NmsSession_I:1.0");
    align(arguments);
    append(arguments, 1);  // one profile
    append(arguments, 0);  // its tag: IIOP
    append(arguments, static_cast<std::uint32_t>(profile.size()));
    return arguments + profile;
}

ReplyStatus statusOf(const std::string& message) {
    if (message.size() < kReplyStatusAt + 4 || message[7] != kReply)
        throw std::runtime_error("this is no reply");
    return static_cast<ReplyStatus>(numberAt(message, kReplyStatusAt));
}

void ReplyReader::add(const std::string& bytes) {
    unread_ += bytes;
    std::size_t at = 0;
    while (!isWhole_) {
        const std::string header = unread_.substr(at, kHeaderBytes);
        const std::size_t length = messageLength(header);
        if (length == 0 || unread_.size() - at < length)
            break;
        const char type = header[7];
        if (type != (content_.empty() ? kReply : kFragment))
            throw std::runtime_error("this is no reply");
        // a fragment repeats the request id
        const std::size_t skipped = type == kReply ? kHeaderBytes : kHeaderBytes + 4;
        content_.append(unread_, at + skipped, length - skipped);
        isWhole_ = (byteAt(header, 6) & kMoreFragments) == 0;
        at += length;
    }
    unread_.erase(0, at);
}

std::string replyTo(const std::string& message) {
    if (message.at(7) != kRequest || (byteAt(message, kResponseFlagsAt) & kReplyExpected) == 0)
        return {};
    std::string reply = headerOf(kReply);
    append(reply, numberAt(message, kRequestIdAt));
    append(reply, 0);  // no exception
    append(reply, 0);  // no service contexts
    return finished(std::move(reply));
}

}  // namespace kelp::bench
