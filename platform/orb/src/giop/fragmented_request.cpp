#include "giop/fragmented_request.h"

#include <utility>

namespace kelp::orb::giop {

namespace {

/// Set the header's size to that of the joined message, and clear its flag for further fragments.
void completeHeader(OctetBuffer& message, bool littleEndian) {
    const std::span<std::uint8_t> octets = message.octets();
    octets[kFlagsAt] = static_cast<std::uint8_t>(octets[kFlagsAt] & ~kMoreFragmentsFlag);
    putNumber(octets, kSizeAt, static_cast<std::uint32_t>(octets.size() - kHeaderOctets),
              littleEndian);
}

}  // namespace

std::size_t FragmentedRequest::fragmentHeaderOctets() const {
    // from 1.2 on the request's id follows the header
    return header_.minor >= 2 ? kHeaderOctets + 4 : kHeaderOctets;
}

std::size_t FragmentedRequest::octetsWith(const MessageHeader& fragment) const {
    return size_ + fragment.octets - fragmentHeaderOctets();
}

bool FragmentedRequest::add(Octets message, const ProgressRule& rule, Progress::Time now) {
    const bool isFirst = size_ == 0;
    const Octets content = isFirst ? message : message.subspan(fragmentHeaderOctets());
    const bool keepsHeaders = header_.minor < 2;
    if (!octets_.append(keepsHeaders ? message : content))
        return false;
    size_ += content.size();
    progress_.arrived(message.size(), rule, now);
    return true;
}

OctetBuffer FragmentedRequest::joined() {
    completeHeader(octets_, header_.littleEndian);
    return std::move(octets_);
}

OctetBuffer FragmentedRequest::messages() {
    return std::move(octets_);
}

JoinedParts joinParts(Octets messages, InputBudget& budget) {
    JoinedParts joined{OctetBuffer(budget), {}, 0};
    MessageHeader header;
    while (messages.size() >= kHeaderOctets && readHeader(messages, header) == Violation::None) {
        const Octets part = messages.first(static_cast<std::size_t>(header.octets));
        const bool isFirst = joined.message.size() == 0;
        if (isFirst)
            joined.firstOctets = part.size();
        else
            joined.fragments.push_back(joined.message.size());
        if (!joined.message.append(isFirst ? part : part.subspan(kHeaderOctets)))
            return {OctetBuffer(budget), {}, 0};
        messages = messages.subspan(part.size());
    }
    completeHeader(joined.message, header.littleEndian);
    return joined;
}

}  // namespace kelp::orb::giop
