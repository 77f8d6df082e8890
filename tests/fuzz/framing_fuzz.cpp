#include <algorithm>
#include <string>
#include <vector>

#include "giop/message_assembler.h"
#include "targets.h"

namespace kelp::fuzz {

namespace {

using namespace orb::giop;
using Step = MessageAssembler::Step;

/// An address with or without a log-in.
class Peer : public PeerStanding {
  public:
    explicit Peer(bool loggedIn) : loggedIn_(loggedIn) {}
    bool isLoggedIn() override { return loggedIn_; }
    bool mayLocate() override { return true; }

  private:
    bool loggedIn_;
};

struct Outcome {
    std::vector<std::string> messages;
    Step last = Step::More;
    Violation violation = Violation::None;
    bool operator==(const Outcome&) const = default;
};

/// Return what the assembler produces when the octets arrive in parts of these sizes, repeated
/// cyclically.
Outcome assemble(Input octets, const std::vector<std::size_t>& sizes, bool loggedIn) {
    AssemblerLimits limits;
    limits.messageOctetsMax = 4096;
    limits.octetsMaxBeforeLogin = 1024;
    limits.fragmentedMax = 4;
    InputBudget budget(std::size_t{64} << 20);
    Outcome outcome;
    {
        Peer peer(loggedIn);
        MessageAssembler assembler(limits, peer, budget);
        for (std::size_t part = 0; !octets.empty() && outcome.last == Step::More; ++part) {
            const std::size_t size = std::min(octets.size(), sizes[part % sizes.size()]);
            const bool passes = assembler.passes(octets.first(size));
            require(assembler.append(octets.first(size)), "the budget is large enough");
            const std::size_t before = outcome.messages.size();
            while ((outcome.last = assembler.next({})) == Step::Message)
                outcome.messages.push_back(textOf(assembler.message()));
            require(!passes || (outcome.messages.size() == before + 1 &&
                                outcome.messages.back() == textOf(octets.first(size))),
                    "what passes is one message as it stands");
            octets = octets.subspan(size);
        }
        outcome.violation = assembler.violation();
    }
    require(budget.used() == 0, "all memory is given back");
    return outcome;
}

Input inputOf(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

/// Require whole messages that the ORB can rely on: requests with valid headers, and complete
/// sequences of GIOP 1.1 messages whose fragments follow each other.
void requireSound(const std::vector<std::string>& messages) {
    bool expectsFragment = false;
    for (const std::string& message : messages) {
        MessageHeader header;
        require(message.size() >= kHeaderOctets, "a message has a header");
        require(readHeader(inputOf(message), header) == Violation::None, "its header is sound");
        require(header.octets == message.size(), "it is whole");
        require((header.type == MessageType::Fragment) == expectsFragment,
                "fragments follow their request");
        require(!header.moreFragments || header.minor == 1, "requests of GIOP 1.2 are joined");
        if (!expectsFragment) {
            RequestHeader request;
            require(
                header.type == MessageType::Request || header.type == MessageType::LocateRequest,
                "it is a request");
            require(readRequestHeader(inputOf(message), header, request) == Violation::None,
                    "the request's header is sound");
            require(!request.namesProfile, "the target is named by its key");
        }
        expectsFragment = header.moreFragments;
    }
    require(!expectsFragment, "no request is incomplete");
}

}  // namespace

void fuzzFraming(Input input) {
    constexpr std::size_t settings = 4;
    if (input.size() < settings)
        return;
    const bool loggedIn = (input[0] & 1) != 0;
    const std::vector<std::size_t> sizes{1U + input[1], 1U + input[2], 1U + input[3]};
    const Input octets = input.subspan(settings);

    const Outcome whole = assemble(octets, {std::max<std::size_t>(octets.size(), 1)}, loggedIn);
    require(assemble(octets, sizes, loggedIn) == whole, "the partition makes no difference");
    require(assemble(octets, {1}, loggedIn) == whole, "single octets make no difference");
    requireSound(whole.messages);

    std::string passed;
    for (const std::string& message : whole.messages)
        passed += message;
    const Outcome again =
        assemble(inputOf(passed), {std::max<std::size_t>(passed.size(), 1)}, true);
    require(again.messages == whole.messages && again.last == Step::More,
            "what passed once passes again");
}

}  // namespace kelp::fuzz
