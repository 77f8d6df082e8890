#pragma once

#include <kelp/orb/event_sender.h>
#include <kelp/util/mutex.h>

#include <forward_list>
#include <vector>

namespace kelp::orb {

/// The encodings of one event, in every form that was asked for. Callable from any thread.
class SharedEvent::Encodings {
  public:
    explicit Encodings(const CosNotification::StructuredEvent& event) : event_(event) {}

    /// Write the event as the stream's next value. The event is encoded only the first time for
    /// streams of one form.
    void write(cdrStream& stream) KELP_EXCLUDES(mutex_);

    std::size_t count() const KELP_EXCLUDES(mutex_);
    std::size_t octets() const KELP_EXCLUDES(mutex_);

  private:
    /// What the octets depend on. The ORB has one converter for each code set and GIOP version, so
    /// the converters stand for the version too.
    struct Form {
        const void* narrow;
        const void* wide;
        bool swapped;
        std::uint32_t offset;  ///< of the first octet, modulo 8, the largest alignment in CDR
        bool operator==(const Form&) const = default;
    };
    struct Encoding {
        Form form;
        std::vector<CORBA::Octet> octets;
    };

    const std::vector<CORBA::Octet>& octetsFor(cdrStream& stream, std::uint32_t offset)
        KELP_EXCLUDES(mutex_);
    std::vector<CORBA::Octet> encode(cdrStream& like, std::uint32_t offset) const;

    const CosNotification::StructuredEvent& event_;
    // Held while encoding, so that others who need the same form wait and do not encode it again.
    mutable util::Mutex mutex_{util::LockRank::Service, "SharedEvent::Encodings::mutex_"};
    std::forward_list<Encoding> made_ KELP_GUARDED_BY(mutex_);
};

}  // namespace kelp::orb
