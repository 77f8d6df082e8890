#pragma once

#include <kelp/orb/encoded_event.h>
#include <omniORB4/CORBA.h>

#include <cstdint>
#include <span>

#include "giop/events/event_scan.h"

namespace kelp::orb {

/// Code sets of an encoded event whose texts depend on them. The ORB has one converter for each
/// code set and GIOP version, so the converters stand for the version too. There is one object for
/// each pair, until the process ends.
struct EncodedEvent::CodeSets {
    omni::omniCodeSet::TCS_C* narrow;
    omni::omniCodeSet::TCS_W* wide;
    bool operator==(const CodeSets&) const = default;
};

/// Brings encoded events from and to the ORB's streams. Callable from any thread.
class EncodedEvents {
  public:
    /// Encode an event, or keep it decoded if it cannot be indexed. Sets the result's `whole_` to
    /// `shared`, or to a copy of the event if that is null.
    static EncodedEvent encoded(const CosNotification::StructuredEvent& event,
                                const StructuredEventPtr& shared);
    /// Read the event that comes next. Raises what reading it with the ORB's own function raises.
    /// Takes over the octets, without decoding them, if the ORB would certainly accept them.
    static EncodedEvent read(cdrStream& stream);
    /// Read a value that begins at this offset in the event's octets.
    template <class Value>
    static void decode(const EncodedEvent& event, std::uint32_t at, Value& value) {
        const EncodedEvent::CodeSets* own = event.codeSets_;
        const EncodedEvent::CodeSets sets = own == nullptr ? defaultCodeSets() : *own;
        cdrMemoryStream stream(event.octets_.get(), event.size_);
        stream.TCS_C(sets.narrow);
        stream.TCS_W(sets.wide);
        stream.skipInput(at);
        value <<= stream;
    }
    /// Return whether write() writes what the ORB would write to the stream.
    static bool canWrite(const EncodedEvent& event, cdrStream& stream);
    /// Write an event's octets. `offset` is the position in the stream, modulo 8; a multiple of 4.
    static void write(const EncodedEvent& event, cdrStream& stream, std::uint32_t offset);

  private:
    /// Those of this process's texts, as a peer with the same code sets receives them. Null
    /// pointers before the ORB starts.
    static EncodedEvent::CodeSets defaultCodeSets();
    static const EncodedEvent::CodeSets* kept(const EncodedEvent::CodeSets& sets);
    static EncodedEvent assembled(std::span<const std::uint8_t> octets, const giop::EventMap& map,
                                  const EncodedEvent::CodeSets* codeSets);
};

}  // namespace kelp::orb
