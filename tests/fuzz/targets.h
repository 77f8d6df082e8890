#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

/// What is fuzzed: one function a target, each given any bytes whatever. They throw Broken when a
/// property does not hold; any other exception, and whatever the sanitizers find, is a failure as
/// well.
namespace kelp::fuzz {

using Input = std::span<const std::uint8_t>;

class Broken : public std::logic_error {
  public:
    using std::logic_error::logic_error;
};

inline void require(bool holds, const std::string& property) {
    if (!holds)
        throw Broken(property);
}

inline std::string textOf(Input input) {
    return {input.begin(), input.end()};
}

/// The encoded parameters of a request, behind three octets that say which.
void fuzzArguments(Input input);
/// The text of a configuration file.
void fuzzConfiguration(Input input);
/// What a client sends, behind four octets that say who sends it and in which parts it arrives.
void fuzzFraming(Input input);
/// Calls of an NMS to the naming service: the context's object id in the first line, then a name.
void fuzzNaming(Input input);
/// A list of networks, one a line.
void fuzzNetworks(Input input);
/// The transport's text for a peer; also the text as the host of one.
void fuzzPeerAddress(Input input);
/// A stringified reference ("IOR:..."), or the bytes of one.
void fuzzReference(Input input);
/// A text with tags, such as a session's name.
void fuzzTaggedText(Input input);
/// A time's text.
void fuzzTimeText(Input input);

}  // namespace kelp::fuzz
