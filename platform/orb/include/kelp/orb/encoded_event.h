#pragma once

#include <cos/CosNotification.h>
#include <kelp/orb/corba.h>
#include <kelp/orb/export.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kelp::orb {

/// An event that several users share. None of them changes it.
using StructuredEventPtr = std::shared_ptr<const CosNotification::StructuredEvent>;

/// A structured event as its encoded octets, with an index of its properties. EventView reads it
/// without decoding it as a whole. It never changes, so any thread may read it. An event that
/// cannot be indexed is kept decoded: one with a valuetype, or with a name that is not ASCII.
class KELP_EXPORT EncodedEvent {
  public:
    /// Encode an event in native byte order.
    explicit EncodedEvent(const CosNotification::StructuredEvent& event);
    /// The same. Keeps `event`, which must not be null, only if it cannot be indexed.
    explicit EncodedEvent(const StructuredEventPtr& event);
    EncodedEvent(EncodedEvent&&) noexcept;
    EncodedEvent& operator=(EncodedEvent&&) noexcept;
    ~EncodedEvent();

    /// Return the decoded event.
    CosNotification::StructuredEvent decoded() const;
    /// Return the number of its octets; 0 if it is kept decoded.
    std::size_t octets() const { return size_; }
    /// Return the number of octets of memory that its octets and their index take.
    std::size_t octetsWithIndex() const { return size_ == 0 ? 0 : indexEnd_; }

  private:
    friend class EventView;
    friend class EventProperties;
    friend class EventValue;
    friend class EncodedEvents;
    /// Code sets of texts that depend on them.
    struct CodeSets;

    EncodedEvent() = default;
    CORBA::Any anyAt(std::uint32_t at) const;

    std::unique_ptr<std::uint8_t[]> octets_;  ///< of the event, aligned to 8, and of the index
    std::uint32_t size_ = 0;                  ///< of the event
    std::uint32_t indexEnd_ = 0;
    /// The end of what precedes the first value with an alignment of 8, before its padding;
    /// otherwise the size.
    std::uint32_t firstEight_ = 0;
    const CodeSets* codeSets_ = nullptr;  ///< null: in all code sets the same
    StructuredEventPtr whole_;            ///< only if it is kept decoded
};

}  // namespace kelp::orb
