#include "plain_iterator.h"

#include <kelp/orb/references.h>

#include <cstdint>
#include <stdexcept>

namespace kelp::bench {

namespace {

// offsets of the reply's status and of next_n's count after the reply's header, if there are no
// service contexts
constexpr std::size_t kStatusAt = 4;
constexpr std::size_t kCountAt = 16;

/// Read an unsigned long in this machine's byte order, in which both servers reply.
CORBA::ULong nativeNumberAt(const std::string& reply, std::size_t at) {
    CORBA::ULong number = 0;
    for (std::size_t i = 4; i-- > 0;)
        number = number << 8 | static_cast<std::uint8_t>(reply.at(at + i));
    return number;
}

}  // namespace

PlainIterator::PlainIterator(CORBA::ORB_ptr orb, CORBA::Object_ptr iterator,
                             const RequestForm& form)
    : form_(form) {
    orb::ReferenceContent content;
    if (!orb::describe(orb, iterator, content) || content.endpoints.empty())
        throw std::runtime_error("an iterator without an address");
    key_ = content.objectKey;
    connection_ = test::connectTo(content.endpoints.front().port);
}

std::string PlainIterator::next(CORBA::ULong howMany) {
    std::string arguments;
    appendNumber(arguments, howMany, form_.isBigEndian);
    const std::string request = requestMessage(key_, "next_n", arguments, form_);
    if (::send(connection_.fd(), request.data(), request.size(), MSG_NOSIGNAL) !=
        static_cast<ssize_t>(request.size()))
        throw std::runtime_error("a request could not be sent");
    ReplyReader reader;
    while (!reader.isWhole()) {
        char part[65536];
        const ssize_t length = ::recv(connection_.fd(), part, sizeof part, 0);
        if (length <= 0)
            throw std::runtime_error("a next_n was not answered");
        reader.add({part, static_cast<std::size_t>(length)});
    }
    return reader.content();
}

bool PlainIterator::isResult(const std::string& reply) {
    return nativeNumberAt(reply, kStatusAt) == static_cast<CORBA::ULong>(ReplyStatus::NoException);
}

bool PlainIterator::isMore(const std::string& reply) {
    return reply.at(kIsMoreAt) != 0;
}

CORBA::ULong PlainIterator::count(const std::string& reply) {
    return nativeNumberAt(reply, kCountAt);
}

}  // namespace kelp::bench
