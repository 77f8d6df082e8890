#include "same_octets.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "iterators/plain_iterator.h"
#include "support/cdr_shape.h"

namespace kelp::bench {

namespace {

constexpr CORBA::ULong kComparedBatch = 1000;

// the results of next_n: whether there is more, then the list
constexpr std::string_view kElements = "o((ss)sssssslo(h)(ss))";
constexpr std::string_view kPorts = "o((ss)sss(ss)(ss)llll(h(ss))lo(ss))";

// where the list stands in a reply without service contexts
constexpr std::size_t kListAt = 20;

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
    RequestForm form;
    form.hasChosenUtf8 = true;  // as ordinary clients do
    PlainIterator atProduct(orb, ofProduct->iterator(), form);
    PlainIterator atFloor(orb, ofFloor->iterator(), form);
    const std::string_view shape = name.isOfElements() ? kElements : kPorts;
    for (bool isMore = true; isMore;) {
        const std::string content = atProduct.next(kComparedBatch);
        if (!PlainIterator::isResult(content))
            throw std::runtime_error("a next_n was refused");
        requireSame(test::withoutPadding(content, PlainIterator::kIsMoreAt, shape),
                    test::withoutPadding(atFloor.next(PlainIterator::count(content)),
                                         PlainIterator::kIsMoreAt, shape));
        isMore = PlainIterator::isMore(content);
        sum.entries += PlainIterator::count(content);
        sum.octets += content.size() - kListAt;
    }
    return sum;
}

}  // namespace kelp::bench
