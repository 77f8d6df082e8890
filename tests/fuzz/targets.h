#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>

/// The fuzz targets, one function each. A target accepts any bytes and throws Broken if a property
/// does not hold. Any other exception, and any finding of the sanitizers, is a failure as well.
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

/// The content of a record of the alarms' change log.
void fuzzAlarmRecord(Input input);
/// The encoded parameters of a request. Three octets before them select the byte order and version,
/// the operation, and a fragment.
void fuzzArguments(Input input);
/// The text of a configuration file.
void fuzzConfiguration(Input input);
/// The octets that a client sends. Four octets before them select the sender and the sizes of the
/// parts in which the octets arrive.
void fuzzFraming(Input input);
/// An NMS's calls to the naming service. The first line is the context's object id, the rest is a
/// name.
void fuzzNaming(Input input);
/// A list of networks, one a line.
void fuzzNetworks(Input input);
/// The transport's text for a peer. The text is also used as the host in such a text.
void fuzzPeerAddress(Input input);
/// A stringified reference ("IOR:..."), or the bytes of a reference.
void fuzzReference(Input input);
/// A text with tags, such as a session's name.
void fuzzTaggedText(Input input);
/// The text of a time.
void fuzzTimeText(Input input);

}  // namespace kelp::fuzz
