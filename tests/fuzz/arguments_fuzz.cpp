// The parameters of a request. The first octet of the input selects the byte order and the GIOP
// version, the second the operation, and the third the offset of a fragment. The rest is the body.

#include <vector>

#include "giop/arguments/argument_check.h"
#include "giop/arguments/operation_shapes.h"
#include "targets.h"

namespace kelp::fuzz {

namespace {

using orb::giop::ArgumentLimits;
using orb::giop::ArgumentVerdict;
using orb::giop::checkArguments;
using orb::giop::EncodedArguments;

constexpr std::size_t kHead = 3;
constexpr std::size_t kBody = 24;

/// Return a third of every default limit.
ArgumentLimits strict() {
    ArgumentLimits limits;
    limits.depthMax /= 3;
    limits.anyDepthMax /= 3;
    limits.typesMax /= 3;
    limits.typeOctetsMax /= 3;
    limits.workBase /= 3;
    limits.workPerOctet /= 3;
    return limits;
}

}  // namespace

void fuzzArguments(Input input) {
    if (input.size() < kHead)
        return;
    const auto operations = orb::giop::operationShapes();
    const std::string_view operation = operations[input[1] % operations.size()].name;
    std::vector<std::uint8_t> message(kBody);
    message.insert(message.end(), input.begin() + kHead, input.end());
    const std::size_t fragments[] = {kBody + input[2]};
    const EncodedArguments arguments{message, kBody, (input[0] & 1) != 0,
                                     static_cast<std::uint8_t>(input[0] >> 1 & 3),
                                     std::span(fragments, input[2] == 0 ? 0 : 1)};
    const ArgumentVerdict verdict = checkArguments(operation, arguments);
    require(!orb::giop::textOf(verdict).empty(), "a verdict has no text");
    if (verdict == ArgumentVerdict::Fine) {
        std::vector<std::uint8_t> longer = message;
        longer.resize(longer.size() + 100, 0xff);
        EncodedArguments more = arguments;
        more.message = longer;
        require(checkArguments(operation, more) == ArgumentVerdict::Fine,
                "octets behind the parameters matter");
    } else {
        require(checkArguments(operation, arguments, strict()) != ArgumentVerdict::Fine,
                "stricter limits allow more");
    }
}

}  // namespace kelp::fuzz
