#pragma once

#include <kelp/orb/export.h>

#include <cstdint>
#include <string>

namespace kelp::orb {

/// The entries of a sequence, encoded in CDR in this machine's byte order, with texts in this
/// process's native code set. No value has an alignment of more than four, so the octets are valid
/// at any place of a message that is a multiple of four. They end without padding.
struct ReadyEntries {
    std::uint32_t count = 0;
    std::string octets;
};

/// Where an operation's results hold the sequence: at their beginning, or after a boolean.
enum class SequencePlace { First, AfterBoolean };

/// Return whether the reply to the request that the calling thread serves may contain ready
/// entries: it goes over a connection whose client has chosen this process's char code set. False
/// outside a request and for calls inside the process.
KELP_EXPORT bool takesReadyEntries();

/// Let the reply to the request that the calling thread serves contain `entries`. The servant
/// returns an empty sequence at that place, and they are copied into the reply instead of it. They
/// are dropped when the servant raises an exception. Call it at most once, and only if
/// takesReadyEntries() has returned true in the same request; throws BAD_INV_ORDER otherwise.
KELP_EXPORT void answerWith(ReadyEntries entries, SequencePlace place);

}  // namespace kelp::orb
