#include "same_octets.h"

#include <fmt/format.h>
#include <kelp/orb/references.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "common/giop_message.h"
#include "iterators/cdr_shape.h"

namespace kelp::bench {

namespace {

constexpr CORBA::ULong kBatch = 1000;

/// An iterator that is called with GIOP messages that the benchmark builds.
class PlainIterator {
  public:
    PlainIterator(CORBA::ORB_ptr orb, CORBA::Object_ptr iterator) {
        orb::ReferenceContent content;
        if (!orb::describe(orb, iterator, content) || content.endpoints.empty())
            throw std::runtime_error("an iterator without an address");
        key_ = content.objectKey;
        connection_ = test::connectTo(content.endpoints.front().port);
    }
    /// Call next_n and return the reply without its header.
    std::string next(CORBA::ULong howMany) {
        std::string arguments;
        for (int shift = 0; shift < 32; shift += 8)
            arguments.push_back(static_cast<char>(howMany >> shift & 0xff));
        const std::string request = requestMessage(key_, "next_n", arguments);
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

  private:
    std::string key_;
    test::Socket connection_;
};

// the results of next_n: whether there is more, then the list
constexpr std::string_view kElements = "o((ss)sssssslo(h)(ss))";
constexpr std::string_view kPorts = "o((ss)sss(ss)(ss)llll(h(ss))lo(ss))";

// offsets of next_n's results after the reply's header, if there are no service contexts
constexpr std::size_t kStatusAt = 4;
constexpr std::size_t kIsMoreAt = 12;
constexpr std::size_t kCountAt = 16;
constexpr std::size_t kListAt = 20;

std::uint32_t ulongAt(const std::string& content, std::size_t at) {
    std::uint32_t number = 0;
    for (std::size_t i = 4; i-- > 0;)
        number = number << 8 | static_cast<std::uint8_t>(content.at(at + i));
    return number;
}

void requireSame(const std::string& product, const std::string& floor) {
    if (product == floor)
        return;
    const auto differ = std::mismatch(product.begin(), product.end(), floor.begin(), floor.end());
    throw std::runtime_error(
        fmt::format("the floor's reply of {} octets differs from the product's of {} at {}",
                    floor.size(), product.size(), differ.first - product.begin()));
}

}  // namespace

ListOctets requireSameOctets(CORBA::ORB_ptr orb, const ListServer& product, const ListServer& floor,
                             const ListName& name) {
    const std::unique_ptr<OpenList> ofProduct = open(product, name, 1);
    const std::unique_ptr<OpenList> ofFloor = open(floor, name, 1);
    ListOctets sum;
    if (ofProduct->first() != ofFloor->first() || ofProduct->isMore() != ofFloor->isMore())
        throw std::runtime_error("the floor's list does not begin as the product's does");
    if (!ofProduct->isMore())
        return sum;
    PlainIterator atProduct(orb, ofProduct->iterator());
    PlainIterator atFloor(orb, ofFloor->iterator());
    const std::string_view shape = name.isOfElements() ? kElements : kPorts;
    for (bool isMore = true; isMore;) {
        const std::string content = atProduct.next(kBatch);
        if (ulongAt(content, kStatusAt) != static_cast<std::uint32_t>(ReplyStatus::NoException))
            throw std::runtime_error("a next_n was refused");
        requireSame(withoutPadding(content, kIsMoreAt, shape),
                    withoutPadding(atFloor.next(ulongAt(content, kCountAt)), kIsMoreAt, shape));
        isMore = content.at(kIsMoreAt) != 0;
        sum.entries += ulongAt(content, kCountAt);
        sum.octets += content.size() - kListAt;
    }
    return sum;
}

}  // namespace kelp::bench
